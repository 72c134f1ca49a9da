#include "lib/digests.h"

#include <crypt.h>
#include <nettle/base16.h>
#include <nettle/base64.h>
#include <nettle/hmac.h>
#include <nettle/memops.h>
#include <nettle/sha2.h>
#include <sys/random.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>

#include "core/errors.h"
#include "core/stacks.h"
#include "lib/arguments.h"

namespace tarnel {
namespace {

using Digest = std::array<std::uint8_t, SHA256_DIGEST_SIZE>;

const std::uint8_t* bytes_of(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}
std::string_view text_of_bytes(const std::uint8_t* bytes, std::size_t size) {
  return {reinterpret_cast<const char*>(bytes), size};
}

Digest digest_under_key(std::string_view text, std::string_view key) {
  hmac_sha256_ctx context;
  Digest digest;
  hmac_sha256_set_key(&context, key.size(), bytes_of(key));
  hmac_sha256_update(&context, text.size(), bytes_of(text));
  hmac_sha256_digest(&context, digest.size(), digest.data());
  return digest;
}

std::string hexadecimal(std::string_view bytes) {
  std::string digits(BASE16_ENCODE_LENGTH(bytes.size()), '\0');
  base16_encode_update(digits.data(), bytes.size(), bytes_of(bytes));
  return digits;
}
std::string hexadecimal(const Digest& digest) {
  return hexadecimal(text_of_bytes(digest.data(), digest.size()));
}

std::string base64(std::string_view bytes, bool for_url) {
  std::string digits(BASE64_ENCODE_RAW_LENGTH(bytes.size()), '\0');
  base64_encode_raw(digits.data(), bytes.size(), bytes_of(bytes));
  if (!for_url) return digits;
  for (char& c : digits) c = c == '+' ? '-' : c == '/' ? '_' : c;
  digits.resize(std::min(digits.find('='), digits.size()));
  return digits;
}

std::string signature_of(std::string_view text, std::string_view key) {
  const Digest digest = digest_under_key(text, key);
  return base64(text_of_bytes(digest.data(), digest.size()), true);
}

// False for what is no base 64. Lines don't count.
bool from_base64(std::string digits, std::string& bytes) {
  std::erase_if(digits, [](char c) { return c == '\r' || c == '\n' || c == ' ' || c == '\t'; });
  for (char& c : digits) c = c == '-' ? '+' : c == '_' ? '/' : c;
  while (digits.size() % 4 != 0 && !digits.ends_with("===")) digits += '=';
  base64_decode_ctx context;
  base64_decode_init(&context);
  std::size_t size = BASE64_DECODE_LENGTH(digits.size());
  bytes.resize(size);
  if (base64_decode_update(&context, &size, reinterpret_cast<std::uint8_t*>(bytes.data()),
                           digits.size(), digits.data()) == 0 ||
      base64_decode_final(&context) == 0)
    return false;
  bytes.resize(size);
  return true;
}

// True when the system gave them.
bool fill_by_chance(void* bytes, std::size_t size) {
  auto* at = static_cast<char*>(bytes);
  while (size > 0) {
    const ssize_t n = getrandom(at, size, 0);
    if (n < 0 && errno != EINTR) return false;
    at += std::max<ssize_t>(n, 0);
    size -= static_cast<std::size_t>(std::max<ssize_t>(n, 0));
  }
  return true;
}

// All arguments are texts. Error 312 otherwise: a digest of nothing would pass for one.
bool are_texts(const char* function, std::int32_t count, std::int32_t argc, Var** argv) {
  for (std::int32_t i = 0; i < count; ++i)
    if (!arg_is(argc, argv, i, kText)) {
      RT_ERROR(312,
               std::string(function) + (count > 1 ? "(): takes two texts" : "(): takes a text"));
      return false;
    }
  return true;
}

Var* no_chance() {
  return RT_ERROR(320, "the system has no random bytes");
}

// A whole number below a limit, each as likely as the others.
bool below(std::uint64_t limit, std::uint64_t& number) {
  const std::uint64_t fair = UINT64_MAX - UINT64_MAX % limit;
  do
    if (!fill_by_chance(&number, sizeof number)) return false;
  while (number >= fair);
  number %= limit;
  return true;
}

// What libcrypt makes of a password under a setting or hash; empty when it can't be.
std::string crypted(std::string_view password, const std::string& setting) {
  if (password.find('\0') != password.npos) return {};
  const auto data = std::make_unique<crypt_data>();
  const char* hash = crypt_r(std::string(password).c_str(), setting.c_str(), data.get());
  std::string result = hash == nullptr || hash[0] == '*' ? "" : hash;
  explicit_bzero(data.get(), sizeof *data);
  return result;
}

bool same_bytes(std::string_view a, std::string_view b) {
  return a.size() == b.size() && memeql_sec(a.data(), b.data(), a.size()) != 0;
}

}  // namespace

Var* sha256(std::int32_t argc, Var** argv) {
  if (!are_texts("SHA256", 1, argc, argv)) return error_value();
  const std::string_view text = text_argument(argc, argv, 0);
  sha256_ctx context;
  Digest digest;
  sha256_init(&context);
  sha256_update(&context, text.size(), bytes_of(text));
  sha256_digest(&context, digest.size(), digest.data());
  return TMP_TEXT(hexadecimal(digest));
}

Var* hmacsha256(std::int32_t argc, Var** argv) {
  if (!are_texts("HMACSHA256", 2, argc, argv)) return error_value();
  if (text_of(argv[1]).empty()) return RT_ERROR(324, "HMACSHA256(): needs a key");
  return TMP_TEXT(
      hexadecimal(digest_under_key(text_argument(argc, argv, 0), text_argument(argc, argv, 1))));
}

Var* crc32_function(std::int32_t argc, Var** argv) {
  if (!are_texts("CRC32", 1, argc, argv)) return error_value();
  const std::string_view text = text_argument(argc, argv, 0);
  const double former = arg_is(argc, argv, 1, kNumber) ? number_of(argv[1]) : 0;
  const auto begin = former > 0 && former <= UINT32_MAX ? static_cast<uLong>(former) : 0;
  return TMP_NUM(static_cast<double>(crc32_z(begin, bytes_of(text), text.size())), 0);
}

Var* hexenc(std::int32_t argc, Var** argv) {
  if (!are_texts("HEXENC", 1, argc, argv)) return error_value();
  return TMP_TEXT(hexadecimal(text_argument(argc, argv, 0)));
}

Var* hexdec(std::int32_t argc, Var** argv) {
  if (!are_texts("HEXDEC", 1, argc, argv)) return error_value();
  const std::string_view digits = text_argument(argc, argv, 0);
  base16_decode_ctx context;
  base16_decode_init(&context);
  std::size_t size = BASE16_DECODE_LENGTH(digits.size());
  std::string bytes(size, '\0');
  if (base16_decode_update(&context, &size, reinterpret_cast<std::uint8_t*>(bytes.data()),
                           digits.size(), digits.data()) == 0 ||
      base16_decode_final(&context) == 0)
    return RT_ERROR(320, "HEXDEC(): no hexadecimal digits");
  return TMP_TEXT(std::string_view(bytes).substr(0, size));
}

Var* base64enc(std::int32_t argc, Var** argv) {
  if (!are_texts("BASE64ENC", 1, argc, argv)) return error_value();
  return TMP_TEXT(base64(text_argument(argc, argv, 0), int_argument(argc, argv, 1, 0) != 0));
}

Var* base64dec(std::int32_t argc, Var** argv) {
  if (!are_texts("BASE64DEC", 1, argc, argv)) return error_value();
  std::string bytes;
  if (!from_base64(std::string(text_argument(argc, argv, 0)), bytes))
    return RT_ERROR(320, "BASE64DEC(): no digits of base 64");
  return TMP_TEXT(bytes);
}

Var* random_function(std::int32_t argc, Var** argv) {
  constexpr double kMostExact = 9007199254740992.0;  // 2 to the 53rd
  std::uint64_t number = 0;
  if (argc == 0) {
    if (!fill_by_chance(&number, sizeof number)) return no_chance();
    return TMP_NUM(static_cast<double>(number >> 11U) / kMostExact, 16);
  }
  if (!arg_is(argc, argv, 0, kNumber) || !arg_is(argc, argv, 1, kNumber))
    return RT_ERROR(312, "RANDOM(): takes two numbers, or none");
  const double from = std::ceil(number_of(argv[0])), to = std::floor(number_of(argv[1]));
  if (!(from <= to) || !(std::fabs(from) <= kMostExact) || !(std::fabs(to) <= kMostExact))
    return RT_ERROR(320, "RANDOM(): no whole number lies there");
  if (!below(static_cast<std::uint64_t>(to - from) + 1, number)) return no_chance();
  return TMP_NUM(from + static_cast<double>(number), 0);
}

Var* randtext(std::int32_t argc, Var** argv) {
  constexpr std::int32_t kMostBytes = 1 << 20;
  const std::int32_t size = int_argument(argc, argv, 0, 0);
  if (size < 0 || size > kMostBytes) return RT_ERROR(320, "RANDTEXT(): takes 0 to 1048576 bytes");
  std::string bytes(static_cast<std::size_t>(size), '\0');
  return fill_by_chance(bytes.data(), bytes.size()) ? TMP_TEXT(base64(bytes, true)) : no_chance();
}

Var* pwhash(std::int32_t argc, Var** argv) {
  if (!are_texts("PWHASH", 1, argc, argv)) return error_value();
  char setting[CRYPT_GENSALT_OUTPUT_SIZE];
  if (crypt_gensalt_rn("$y$", 0, nullptr, 0, setting, sizeof setting) == nullptr)
    return no_chance();
  const std::string hash = crypted(text_of(argv[0]), setting);
  return hash.empty() ? RT_ERROR(320, "PWHASH(): no password") : TMP_TEXT(hash);
}

Var* pwverify(std::int32_t argc, Var** argv) {
  const std::string hash(text_argument(argc, argv, 1));
  if (hash.empty() || !arg_is(argc, argv, 0, kText)) return false_value();
  const std::string again = crypted(text_of(argv[0]), hash);
  return logical(!again.empty() && same_bytes(again, hash));
}

Var* signtext(std::int32_t argc, Var** argv) {
  if (!are_texts("SIGNTEXT", 2, argc, argv)) return error_value();
  const std::string_view text = text_argument(argc, argv, 0), key = text_argument(argc, argv, 1);
  if (key.empty()) return RT_ERROR(324, "SIGNTEXT(): needs a key");
  return TMP_TEXT(std::string(text) + "." + signature_of(text, key));
}

Var* verifytext(std::int32_t argc, Var** argv) {
  if (!are_texts("VERIFYTEXT", 2, argc, argv)) return error_value();
  const std::string_view text = text_argument(argc, argv, 0), key = text_argument(argc, argv, 1);
  if (key.empty()) return RT_ERROR(324, "VERIFYTEXT(): needs a key");
  const std::size_t point = text.rfind('.');
  if (point == text.npos) return nil_value();
  const std::string_view signed_text = text.substr(0, point);
  return same_bytes(text.substr(point + 1), signature_of(signed_text, key)) ? TMP_TEXT(signed_text)
                                                                            : nil_value();
}

}  // namespace tarnel
