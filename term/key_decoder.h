// Makes keys of the bytes that a terminal sends. Knows no terminal: bytes and times are handed in.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>

#include "term/key_codes.h"

namespace tarnel {

class KeyDecoder {
 public:
  using Milliseconds = std::int64_t;
  // A letter that follows Esc within this time was typed with Alt.
  static constexpr Milliseconds kAltTime = 50;

  void forget_all() { sequences_.clear(); }
  // The bytes of a key. Those that don't begin with Esc stand for themselves and are not learned.
  void learn(std::string_view sequence, int code);

  void add(std::string_view bytes, Milliseconds now);
  // The next key, or kNoKey when there is none or bytes may still follow that belong to it; those are waited
  // for `delay` from the Esc on. A control sequence that no key is known to send is dropped.
  int next(Milliseconds now, Milliseconds delay);
  // For how long the bytes that are there may wait for more, -1 when there are none.
  Milliseconds patience(Milliseconds now, Milliseconds delay) const;
  // The bytes of the key that next() gave last.
  const std::string& last_bytes() const { return last_; }

 private:
  struct TimedByte {
    char byte;
    Milliseconds time;
  };
  int after_escape(bool may_grow);
  int take(std::size_t n, int code);

  std::map<std::string, int, std::less<>> sequences_;
  std::deque<TimedByte> bytes_;
  std::string last_;
};

}  // namespace tarnel
