#include "lib/code_pages.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cctype>
#include <iterator>
#include <utility>

#include "core/errors.h"
#include "core/text.h"
#include "lib/utf8.h"

namespace tarnel {
namespace {

#define CODE_PAGE_NAME(member, name) name,
constexpr std::string_view kNames[] = {CODE_PAGES(CODE_PAGE_NAME)};

// Names without the number of a page, and numbers that the page isn't named by; in small letters, without what stands
// between letters and digits.
constexpr std::pair<std::string_view, CodePage> kAliases[] = {
    {"utf8", CodePage::kUtf8},     {"cp65001", CodePage::kUtf8}, {"latin1", CodePage::kLatin1},
    {"l1", CodePage::kLatin1},     {"88591", CodePage::kLatin1}, {"iso88591", CodePage::kLatin1},
    {"cp28591", CodePage::kLatin1}};
// What may stand before the number of a page.
constexpr std::string_view kPrefixes[] = {"", "cp", "ibm", "dos", "oem", "ms", "win", "windows"};

// The characters of the bytes from 128 on. U+FFFD marks those that are none.
constexpr char16_t kNone = 0xfffd;
constexpr std::size_t kHalf = 128;
using Half = std::array<char16_t, kHalf>;

constexpr Half half(const char16_t (&characters)[kHalf + 1]) {
  Half result{};
  std::copy_n(characters, kHalf, result.begin());
  return result;
}
constexpr Half latin1() {
  Half result{};
  for (std::size_t i = 0; i < kHalf; ++i) result[i] = static_cast<char16_t>(kHalf + i);
  return result;
}

// In the order of CODE_PAGES, without UTF-8.
constexpr Half kHalves[] = {latin1(),
                            half(u"ÇüéâäàåçêëèïîìÄÅÉæÆôöòûùÿÖÜ¢£¥₧ƒ"
                                 u"áíóúñÑªº¿⌐¬½¼¡«»░▒▓│┤╡╢╖╕╣║╗╝╜╛┐"
                                 u"└┴┬├─┼╞╟╚╔╩╦╠═╬╧╨╤╥╙╘╒╓╫╪┘┌█▄▌▐▀"
                                 u"αßΓπΣσµτΦΘΩδ∞φε∩≡±≥≤⌠⌡÷≈°∙·√ⁿ²■\u00a0"),
                            half(u"ÇüéâäàåçêëèïîìÄÅÉæÆôöòûùÿÖÜø£Ø×ƒ"
                                 u"áíóúñÑªº¿®¬½¼¡«»░▒▓│┤ÁÂÀ©╣║╗╝¢¥┐"
                                 u"└┴┬├─┼ãÃ╚╔╩╦╠═╬¤ðÐÊËÈıÍÎÏ┘┌█▄¦Ì▀"
                                 u"ÓßÔÒõÕµþÞÚÛÙýÝ¯´\u00ad±‗¾¶§÷¸°¨·¹³²■\u00a0"),
                            half(u"ÇüéâäůćçłëŐőîŹÄĆÉĹĺôöĽľŚśÖÜŤťŁ×č"
                                 u"áíóúĄąŽžĘę¬źČş«»░▒▓│┤ÁÂĚŞ╣║╗╝Żż┐"
                                 u"└┴┬├─┼Ăă╚╔╩╦╠═╬¤đĐĎËďŇÍÎě┘┌█▄ŢŮ▀"
                                 u"ÓßÔŃńňŠšŔÚŕŰýÝţ´\u00ad˝˛ˇ˘§÷¸°¨˙űŘř■\u00a0"),
                            half(u"АБВГДЕЖЗИЙКЛМНОПРСТУФХЦЧШЩЪЫЬЭЮЯ"
                                 u"абвгдежзийклмноп░▒▓│┤╡╢╖╕╣║╗╝╜╛┐"
                                 u"└┴┬├─┼╞╟╚╔╩╦╠═╬╧╨╤╥╙╘╒╓╫╪┘┌█▄▌▐▀"
                                 u"рстуфхцчшщъыьэюяЁёЄєЇїЎў°∙·√№¤■\u00a0"),
                            half(u"€\ufffd‚\ufffd„…†‡\ufffd‰Š‹ŚŤŽŹ\ufffd‘’“”•–—\ufffd™š›śťžź"
                                 u"\u00a0ˇ˘Ł¤Ą¦§¨©Ş«¬\u00ad®Ż°±˛ł´µ¶·¸ąş»Ľ˝ľż"
                                 u"ŔÁÂĂÄĹĆÇČÉĘËĚÍÎĎĐŃŇÓÔŐÖ×ŘŮÚŰÜÝŢß"
                                 u"ŕáâăäĺćçčéęëěíîďđńňóôőö÷řůúűüýţ˙"),
                            half(u"ЂЃ‚ѓ„…†‡€‰Љ‹ЊЌЋЏђ‘’“”•–—\ufffd™љ›њќћџ"
                                 u"\u00a0ЎўЈ¤Ґ¦§Ё©Є«¬\u00ad®Ї°±Ііґµ¶·ё№є»јЅѕї"
                                 u"АБВГДЕЖЗИЙКЛМНОПРСТУФХЦЧШЩЪЫЬЭЮЯ"
                                 u"абвгдежзийклмнопрстуфхцчшщъыьэюя"),
                            half(u"€\ufffd‚ƒ„…†‡ˆ‰Š‹Œ\ufffdŽ\ufffd\ufffd‘’“”•–—˜™š›œ\ufffdžŸ"
                                 u"\u00a0¡¢£¤¥¦§¨©ª«¬\u00ad®¯°±²³´µ¶·¸¹º»¼½¾¿"
                                 u"ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞß"
                                 u"àáâãäåæçèéêëìíîïðñòóôõö÷øùúûüýþÿ")};
static_assert(std::size(kHalves) == std::size(kNames) - 1);

// The way back: the characters of a page, ascending, with their bytes.
using WayBack = std::array<std::pair<char16_t, std::uint8_t>, kHalf>;
constexpr WayBack way_back(const Half& page) {
  WayBack back{};
  for (std::size_t i = 0; i < kHalf; ++i) back[i] = {page[i], static_cast<std::uint8_t>(kHalf + i)};
  std::sort(back.begin(), back.end());
  return back;
}
constexpr auto kWaysBack = [] {
  std::array<WayBack, std::size(kHalves)> ways{};
  std::transform(std::begin(kHalves), std::end(kHalves), ways.begin(), way_back);
  return ways;
}();

std::size_t half_of(CodePage page) {
  assert(page != CodePage::kUtf8);
  return static_cast<std::size_t>(page) - 1;
}

void note(Unconverted& lost, std::size_t position, char32_t character, bool is_byte) {
  if (lost.count++ == 0) lost = {1, position, character, is_byte};
}

// UTF-8 of a text in a page; of a byte that is no character becomes what stand_in() gives.
template <typename StandIn>
Unconverted converted(std::string& out, std::string_view bytes, CodePage page, StandIn stand_in) {
  Unconverted lost;
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t plain = ascii_length(bytes.substr(at));
    out.append(bytes, at, plain);
    if ((at += plain) == bytes.size()) break;
    char32_t c = 0;
    const std::size_t n = character_at(bytes.substr(at), page, c);
    const auto byte = static_cast<unsigned char>(bytes[at]);
    if (n == 0) note(lost, at, byte, true);
    append_utf8(out, n > 0 ? c : stand_in(byte));
    at += std::max<std::size_t>(n, 1);
  }
  return lost;
}

}  // namespace

std::string_view name_of(CodePage page) {
  return kNames[static_cast<std::size_t>(page)];
}

std::string code_page_names() {
  std::string names;
  for (const std::string_view name : kNames) names.append(names.empty() ? "" : ", ").append(name);
  return names;
}

std::optional<CodePage> code_page_named(std::string_view name) {
  std::string plain = lower_text(name);
  std::erase_if(plain, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; });
  for (const auto& [alias, page] : kAliases)
    if (plain == alias) return page;
  const std::size_t digits = std::min(plain.find_first_of("0123456789"), plain.size());
  const std::string_view prefix = std::string_view(plain).substr(0, digits);
  if (std::ranges::find(kPrefixes, prefix) == std::end(kPrefixes)) return {};
  const auto* found = std::ranges::find(kNames, "cp" + plain.substr(digits));
  if (found == std::end(kNames)) return {};
  return static_cast<CodePage>(found - std::begin(kNames));
}

std::size_t character_at(std::string_view bytes, CodePage page, char32_t& c) {
  if (page == CodePage::kUtf8) return utf8_length(bytes, c);
  const auto byte = static_cast<unsigned char>(bytes.front());
  c = byte < kHalf ? byte : kHalves[half_of(page)][byte - kHalf];
  return c == kNone ? 0 : 1;
}

std::optional<unsigned char> byte_of(CodePage page, char32_t c) {
  if (c < kHalf) return static_cast<unsigned char>(c);
  if (c >= kNone) return {};
  const WayBack& back = kWaysBack[half_of(page)];
  const auto found =
      std::ranges::lower_bound(back, c, {}, [](const auto& row) { return row.first; });
  if (found == back.end() || found->first != c) return {};
  return found->second;
}

std::string words_of(const Unconverted& lost) {
  if (lost.is_byte) return format_text("byte 0x%02x", unsigned{lost.character});
  std::string words;
  if (lost.character >= 0xa0) append_utf8(words, lost.character), words += ' ';
  return words + format_text(words.empty() ? "U+%04X" : "(U+%04X)", unsigned{lost.character});
}

Unconverted to_utf8(std::string& out, std::string_view bytes, CodePage page) {
  return converted(out, bytes, page, [](unsigned char) { return char32_t{kNone}; });
}

void to_utf8_exactly(std::string& out, std::string_view bytes, CodePage page) {
  converted(out, bytes, page, [](unsigned char byte) { return kCarriedByte + byte; });
}

Unconverted from_utf8(std::string& out, std::string_view text, CodePage page) {
  if (page == CodePage::kUtf8) return to_utf8(out, text, page);
  Unconverted lost;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t plain = ascii_length(text.substr(at));
    out.append(text, at, plain);
    if ((at += plain) == text.size()) break;
    char32_t c = 0;
    const std::size_t n = utf8_length(text.substr(at), c);
    const std::optional<unsigned char> byte = n > 0 ? byte_of(page, c) : std::nullopt;
    if (!byte) note(lost, at, n > 0 ? c : static_cast<unsigned char>(text[at]), n == 0);
    out += static_cast<char>(byte.value_or('?'));
    at += std::max<std::size_t>(n, 1);
  }
  return lost;
}

}  // namespace tarnel
