#include "term/key_decoder.h"

#include <algorithm>

namespace tarnel {
namespace {

constexpr char kEscape = '\x1b';
constexpr int kDropped = -1000;  // no key has it

bool is_final(char c) {
  return c >= '@' && c <= '~';
}
// The length of a control sequence, Esc [ and then one final byte behind parameters; 0 when it isn't one.
std::size_t control_sequence(std::string_view bytes) {
  if (!bytes.starts_with("\x1b[")) return 0;
  for (std::size_t i = 2; i < bytes.size(); ++i) {
    if (is_final(bytes[i])) return i + 1;
    if (bytes[i] < ' ' || bytes[i] > '?') return 0;
  }
  return 0;
}
bool begins_control_sequence(std::string_view bytes) {
  return bytes == "\x1bO" ||
         (bytes.starts_with("\x1b[") &&
          std::all_of(bytes.begin() + 2, bytes.end(), [](char c) { return c >= ' ' && c <= '?'; }));
}

}  // namespace

void KeyDecoder::learn(std::string_view sequence, int code) {
  if (sequence.size() > 1 && sequence[0] == kEscape) sequences_.emplace(sequence, code);
}

void KeyDecoder::add(std::string_view bytes, Milliseconds now) {
  for (const char byte : bytes) bytes_.push_back({byte, now});
}

int KeyDecoder::take(std::size_t n, int code) {
  last_.clear();
  for (std::size_t i = 0; i < n; ++i) last_ += bytes_[i].byte;
  bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(n));
  return code;
}

int KeyDecoder::after_escape(bool may_grow) {
  std::string text;
  for (const TimedByte& b : bytes_) text += b.byte;
  if (const auto longer = sequences_.lower_bound(text);
      may_grow && ((longer != sequences_.end() && longer->first.size() > text.size() &&
                    longer->first.starts_with(text)) ||
                   begins_control_sequence(text) || text.size() == 1))
    return kNoKey;
  for (std::size_t n = text.size(); n > 1; --n)
    if (const auto known = sequences_.find(std::string_view(text).substr(0, n));
        known != sequences_.end())
      return take(n, known->second);
  if (const std::size_t n = control_sequence(text); n != 0) return take(n, kDropped);
  if (text.size() > 1 && bytes_[1].time - bytes_[0].time <= kAltTime)
    if (const int code = alt_key(static_cast<unsigned char>(text[1])); code != kNoKey)
      return take(2, code);
  return take(1, kKeyEscape);
}

int KeyDecoder::next(Milliseconds now, Milliseconds delay) {
  while (!bytes_.empty()) {
    const auto first = static_cast<unsigned char>(bytes_.front().byte);
    if (first == 0x7f) return take(1, kKeyBackspace);
    if (first != kEscape) {
      if (take(1, first) != kNoKey) return first;
      continue;  // Ctrl-Space: no key has this code
    }
    const int key = after_escape(now - bytes_.front().time < delay);
    if (key != kDropped) return key;
  }
  return kNoKey;
}

KeyDecoder::Milliseconds KeyDecoder::patience(Milliseconds now, Milliseconds delay) const {
  if (bytes_.empty()) return -1;
  return std::max<Milliseconds>(0, bytes_.front().time + delay - now);
}

}  // namespace tarnel
