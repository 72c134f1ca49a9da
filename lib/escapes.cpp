#include "lib/escapes.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <immintrin.h>
#endif

// What the C library has learned about the processor when the program starts. The compiler's own test would make each start
// ask again, and in a virtual machine every such question leaves it.
#if defined(__x86_64__) && __has_include(<sys/platform/x86.h>)
#ifdef __clang__
#define _Bool bool  // which the header takes for a word of C++
#endif
#include <sys/platform/x86.h>
#define TARNEL_WIDE_STEPS
#endif

namespace tarnel {
namespace {

// What a byte becomes: fixed in size, so that it is written by one store, of which `length` bytes count.
struct Piece {
  char bytes[7];
  unsigned char length;
};
using Pieces = std::array<Piece, 256>;

constexpr Piece piece_of(std::string_view text) {
  Piece piece{{}, static_cast<unsigned char>(text.size())};
  std::copy(text.begin(), text.end(), piece.bytes);
  return piece;
}
constexpr Piece& piece_for(Pieces& pieces, char c) {
  return pieces[static_cast<unsigned char>(c)];
}
constexpr Pieces kPlain = [] {
  Pieces pieces{};
  for (std::size_t byte = 0; byte < pieces.size(); ++byte) {
    const char c = static_cast<char>(byte);
    pieces[byte] = piece_of({&c, 1});
  }
  return pieces;
}();
constexpr char kDigits[] = "0123456789ABCDEF";

// A block of a text, and for each of its bytes all bits or none: is it special?
using Block [[gnu::vector_size(16)]] = unsigned char;
using Hits [[gnu::vector_size(16)]] = signed char;
inline Block all(int byte) {
  return Block{} + static_cast<unsigned char>(byte);
}
template <char... characters>
Hits any_of(const Block& b) {
  return ((b == all(characters)) | ...);
}

// --- The notations: pieces, and which bytes are special.

// `growth` gives for each byte by how many its piece is longer.
struct Html {
  static constexpr Pieces kPieces = [] {
    Pieces pieces = kPlain;
    for (const HtmlEscape& escape : kHtmlEscapes)
      piece_for(pieces, escape.character) = piece_of(escape.html);
    return pieces;
  }();
  // Two of them differ in their lowest bit, two others in the one above.
  static_assert(('&' | 1) == '\'' && ('<' | 2) == '>');
  static Hits hits(const Block& b) {
    return ((b | all(1)) == all('\'')) | ((b | all(2)) == all('>')) | (b == all('"'));
  }
  static Block growth(const Block& b) {
    return (Block((b | all(1)) == all('\'')) & all(4)) |
           (Block((b | all(2)) == all('>')) & all(3)) | (Block(b == all('"')) & all(5));
  }
  static constexpr int kMostGrowth = 5;
};

// Letters are compared in one case.
constexpr bool acts_in_url(char c) {
  const auto letter = static_cast<unsigned char>((c | 0x20) - 'a');
  const auto digit = static_cast<unsigned char>(c - '0');
  return !((letter < 26) | (digit < 10) | (c == '-') | (c == '.') | (c == '_') | (c == '~'));
}
struct Url {
  static constexpr Pieces kPieces = [] {
    Pieces pieces = kPlain;
    for (std::size_t byte = 0; byte < pieces.size(); ++byte) {
      const char escape[] = {'%', kDigits[byte >> 4U], kDigits[byte & 15U]};
      if (acts_in_url(static_cast<char>(byte))) pieces[byte] = piece_of({escape, sizeof escape});
    }
    return pieces;
  }();
  static Hits hits(const Block& b) {
    return ~(((b | all(0x20)) - all('a') < all(26)) | (b - all('0') < all(10)) |
             any_of<'-', '.', '_', '~'>(b));
  }
  static Block growth(const Block& b) { return Block(hits(b)) & all(2); }
  static constexpr int kMostGrowth = 2;
};

struct Json {
  static constexpr Pieces kPieces = [] {
    Pieces pieces = kPlain;
    for (unsigned byte = 0; byte < ' '; ++byte) {
      const char escape[] = {
          '\\', 'u', '0', '0', kDigits[byte >> 4U], "0123456789abcdef"[byte & 15U]};
      pieces[byte] = piece_of({escape, sizeof escape});
    }
    constexpr std::string_view kEscaped = "\"\\\b\f\n\r\t", kLetters = "\"\\bfnrt";
    for (std::size_t i = 0; i < kEscaped.size(); ++i) {
      const char escape[] = {'\\', kLetters[i]};
      piece_for(pieces, kEscaped[i]) = piece_of({escape, sizeof escape});
    }
    return pieces;
  }();
  static Hits hits(const Block& b) { return (b < all(' ')) | any_of<'"', '\\'>(b); }
};

struct Tsv {
  static constexpr Pieces kPieces = [] {
    Pieces pieces = kPlain;
    piece_for(pieces, '\t') = piece_of("\\t");
    piece_for(pieces, '\n') = piece_of("\\n");
    piece_for(pieces, '\r') = piece_of("\\r");
    piece_for(pieces, '\\') = piece_of("\\\\");
    return pieces;
  }();
  static Hits hits(const Block& b) { return any_of<'\t', '\n', '\r', '\\'>(b); }
};

struct Sql {
  static constexpr Pieces kPieces = [] {
    Pieces pieces = kPlain;
    piece_for(pieces, '\'') = piece_of("''");
    return pieces;
  }();
  static Hits hits(const Block& b) { return any_of<'\''>(b); }
};

struct Markdown {
  static constexpr Pieces kPieces = [] {
    Pieces pieces = Html::kPieces;
    piece_for(pieces, '|') = piece_of("\\|");
    piece_for(pieces, '\n') = piece_of("<br>");
    piece_for(pieces, '\r') = piece_of("");
    return pieces;
  }();
  static Hits hits(const Block& b) { return any_of<'|', '\n', '\r'>(b) | Html::hits(b); }
};

// --- The one loop.

Block block_at(const char* at) {
  Block block;
  std::memcpy(&block, at, sizeof block);
  return block;
}

// A bit for each byte of a block, the first one the lowest.
std::uint64_t bits_of(const Hits& hits) {
#ifdef __SSE2__
  return static_cast<std::uint64_t>(_mm_movemask_epi8(std::bit_cast<__m128i>(hits)));
#else
  std::uint64_t bits = 0;
  for (int i = 0; i < static_cast<int>(sizeof hits); ++i)
    bits |= static_cast<std::uint64_t>(hits[i] & 1) << i;
  return bits;
#endif
}

// What is looked at together: four blocks, whose special bytes are the bits of a word.
constexpr std::ptrdiff_t kBlock = sizeof(Block), kRun = 4 * kBlock;
template <typename Notation>
std::uint64_t hits_of_run(const char* at) {
  const Hits a = Notation::hits(block_at(at)), b = Notation::hits(block_at(at + kBlock)),
             c = Notation::hits(block_at(at + 2 * kBlock)),
             d = Notation::hits(block_at(at + 3 * kBlock));
  return bits_of(a) | bits_of(b) << 16U | bits_of(c) << 32U | bits_of(d) << 48U;
}

// What is written too much behind a text.
constexpr std::size_t kSlack = kRun + sizeof(Piece);

template <typename Notation>
char* put_piece(char* out, char c) {
  const Piece& piece = Notation::kPieces[static_cast<unsigned char>(c)];
  std::memcpy(out, &piece, sizeof piece);
  return out + piece.length;
}

template <typename Notation>
char* put_bytes(char* out, const char* at, const char* end) {
  while (at < end) out = put_piece<Notation>(out, *at++);
  return out;
}

// A run whose special bytes are told. What lies between them is copied `step` bytes at a time, as much more is read and
// written: one step for all of it where they are rare, since asking for its length costs more than a copy.
template <typename Notation, std::size_t step>
char* put_run(char* out, const char* at, std::uint64_t hits) {
  const char *const begin = at, *const end = at + kRun;
  const auto copy_to = [&](const char* until) {
    for (; at < until; at += step, out += step) std::memcpy(out, at, step);
    out -= at - until;
  };
  for (; hits != 0; hits &= hits - 1) {
    const char* hit = begin + std::countr_zero(hits);
    copy_to(hit);
    out = put_piece<Notation>(out, *hit);
    at = hit + 1;
  }
  copy_to(end);
  return out;
}

// Writes all but what may be the end of a text, whose rest that is then.
template <typename Notation>
char* put_runs(char* out, std::string_view& text) {
  constexpr int kFew = 4, kMany = 32;  // from so many on it is faster to take each byte by itself
  const char* at = text.data();
  const char* const end = at + text.size();
  for (; end - at >= 2 * kRun; at += kRun) {
    const std::uint64_t hits = hits_of_run<Notation>(at);
    const int count = std::popcount(hits);
    out = count <= kFew    ? put_run<Notation, kRun>(out, at, hits)
          : count <= kMany ? put_run<Notation, kBlock>(out, at, hits)
                           : put_bytes<Notation>(out, at, at + kRun);
  }
  text = {at, end};
  return out;
}

template <typename Notation>
void put_replaced(ByteBuffer& out, std::string_view text) {
  constexpr std::size_t kPart = 4096;  // the room is one for the longest pieces
  while (!text.empty()) {
    std::string_view part = text.substr(0, kPart);
    text.remove_prefix(part.size());
    char* const room = out.room(part.size() * sizeof(Piece::bytes) + kSlack);
    char* at = put_runs<Notation>(room, part);
    at = put_bytes<Notation>(at, part.data(), part.data() + part.size());
    out.took(static_cast<std::size_t>(at - room));
  }
}

// Where no piece is empty, what is left of the text makes the room for what a run writes too much.
template <typename Notation>
void fill_replaced(char* out, std::string_view text) {
  char last[2 * kRun * sizeof(Piece::bytes) + kSlack];
  out = put_runs<Notation>(out, text);
  const char* end = put_bytes<Notation>(last, text.data(), text.data() + text.size());
  std::copy(static_cast<const char*>(last), end, out);
}

// --- Texts without a special byte, as most are.

// A byte is special when the entries of its two halves have a bit in common: one for each set of lower halves that an
// upper half may have.
struct HalfTables {
  std::array<std::uint8_t, 16> low{}, high{};
};
constexpr HalfTables half_tables(const Pieces& pieces) {
  HalfTables tables;
  std::array<unsigned, 8> sets{};
  for (unsigned high = 0; high < 16; ++high) {
    unsigned set = 0;
    for (unsigned low = 0; low < 16; ++low)
      if (pieces[high * 16 + low].length != 1) set |= 1U << low;
    if (set == 0) continue;
    const auto free_or_same =
        std::ranges::find_if(sets, [&](unsigned s) { return s == 0 || s == set; });
    *free_or_same = set;  // more than eight sets don't compile
    const auto bit = static_cast<std::uint8_t>(1U << (free_or_same - sets.begin()));
    tables.high[high] = bit;
    for (unsigned low = 0; low < 16; ++low)
      if ((set >> low & 1U) != 0)
        tables.low[low] = static_cast<std::uint8_t>(tables.low[low] | bit);
  }
  return tables;
}

#ifdef TARNEL_WIDE_STEPS
// Copies what begins a text and has nothing special among it, some bytes of which may be left. What lies behind them in
// `out` may be written to, as far as the text is long.
template <typename Notation>
[[gnu::target("avx2")]] std::size_t copy_plain_by_halves(char* out, std::string_view text) {
  static constexpr HalfTables kTables = half_tables(Notation::kPieces);
  const auto* const halves = reinterpret_cast<const __m128i*>(&kTables);
  const __m256i low = _mm256_broadcastsi128_si256(_mm_loadu_si128(halves)),
                high = _mm256_broadcastsi128_si256(_mm_loadu_si128(halves + 1)),
                half = _mm256_set1_epi8(15);
  constexpr std::size_t kStep = 128;
  std::size_t at = 0;
  for (; text.size() - at >= kStep; at += kStep) {
    __m256i special = _mm256_setzero_si256();
    for (std::size_t i = 0; i < kStep; i += sizeof special) {
      const __m256i bytes =
          _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text.data() + at + i));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + at + i), bytes);
      const __m256i upper = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), half);
      special = _mm256_or_si256(
          special, _mm256_and_si256(_mm256_shuffle_epi8(low, _mm256_and_si256(bytes, half)),
                                    _mm256_shuffle_epi8(high, upper)));
    }
    if (!_mm256_testz_si256(special, special)) break;
  }
  return at;
}
#endif

template <typename Notation>
std::size_t copy_plain(char* out, std::string_view text) {
#ifdef TARNEL_WIDE_STEPS
  if (CPU_FEATURE_ACTIVE(AVX2)) return copy_plain_by_halves<Notation>(out, text);
#endif
  return 0;
}

template <typename Notation>
std::int64_t growth_of(std::string_view text) {
  constexpr int kMostBlocks = 255 / Notation::kMostGrowth;  // whose growth a byte can count
  std::int64_t growth = 0;
  while (text.size() >= sizeof(Block)) {
    Block counts{};
    for (int i = 0; i < kMostBlocks && text.size() >= sizeof(Block); ++i) {
      counts += Notation::growth(block_at(text.data()));
      text.remove_prefix(sizeof(Block));
    }
    for (std::size_t i = 0; i < sizeof counts; ++i) growth += counts[i];
  }
  for (const char c : text) growth += Notation::kPieces[static_cast<unsigned char>(c)].length - 1;
  return growth;
}

}  // namespace

void escape_html(ByteBuffer& out, std::string_view text) {
  put_replaced<Html>(out, text);
}
void escape_url(ByteBuffer& out, std::string_view text) {
  put_replaced<Url>(out, text);
}
void escape_json(ByteBuffer& out, std::string_view text) {
  put_replaced<Json>(out, text);
}
void escape_tsv(ByteBuffer& out, std::string_view text) {
  put_replaced<Tsv>(out, text);
}
void escape_markdown(ByteBuffer& out, std::string_view text) {
  put_replaced<Markdown>(out, text);
}
void escape_sql(ByteBuffer& out, std::string_view text) {
  for (;;) {
    const std::size_t end = std::min(text.find('\0'), text.size());
    put_replaced<Sql>(out, text.substr(0, end));
    if (end == text.size()) return;
    out.put("'||char(0)||'");
    text.remove_prefix(end + 1);
  }
}

std::size_t copy_plain_html(char* out, std::string_view text) {
  return copy_plain<Html>(out, text);
}
std::size_t copy_plain_url(char* out, std::string_view text) {
  return copy_plain<Url>(out, text);
}
std::int64_t growth_in_html(std::string_view text) {
  return growth_of<Html>(text);
}
std::int64_t growth_in_url(std::string_view text) {
  return growth_of<Url>(text);
}
void fill_html(char* out, std::string_view text) {
  fill_replaced<Html>(out, text);
}
void fill_url(char* out, std::string_view text) {
  fill_replaced<Url>(out, text);
}

}  // namespace tarnel
