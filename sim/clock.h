#pragma once

#include <chrono>
#include <functional>

#include "sim/bytes.h"

namespace plexum::sim {

// The PLC's clock. It has no time zone; until it is set it shows UTC.
class Clock {
 public:
  using TimePoint = std::chrono::sys_time<std::chrono::milliseconds>;
  using Now = std::function<TimePoint()>;

  // `now` gives the time that passes for it.
  explicit Clock(Now now = system_now) : now_(std::move(now)) {}

  TimePoint time() const { return now_() + ahead_; }

  // DATE_AND_TIME, 8 bytes of BCD: year, month, day, hour, minute, second, milliseconds (three
  // digits) and the weekday, 1 for Sunday, in the last half byte.
  Bytes date_and_time() const;

  // The data of the time functions, 10 bytes: 0, century, DATE_AND_TIME.
  Bytes block() const;

  // Sets it to such a block; the weekday in it doesn't matter. False, and nothing changed, when
  // the block holds no date and time.
  //
  // In recorded dialogues the year 2014 is sent, and answered, as 19 14. So the years 00 to 89
  // behind a century 19 are those of the 21st century, and the century is given back as it was
  // sent.
  bool set(ByteView block);

  static TimePoint system_now();

 private:
  Now now_;
  std::chrono::milliseconds ahead_{0};
  int century_shown_as_ = 0;  // added to the true century
};

}  // namespace plexum::sim
