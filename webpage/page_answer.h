// What stands in front of a page: the status and the header lines. They go out with the first byte of the page, and
// can't be changed behind it.
#pragma once

#include <string>
#include <string_view>

namespace tarnel {

// From now on the header goes out in front of the first output.
void begin_answer();
// Has the header out if nothing was written.
void end_answer();
bool header_is_out();
// Is the answer HTML, as its header says or will say?
bool answer_is_html();

// A status from 200 to 599, with words or the usual ones. REQUIRES: the header isn't out.
void set_answer_status(int status, std::string_view words = {});
int answer_status();
// A line; another one of its name goes, but for Set-Cookie. REQUIRES: the header isn't out, is_header_name(),
// is_header_value().
void set_answer_header(std::string_view name, std::string_view value);
// All that was set is forgotten. REQUIRES: the header isn't out.
void reset_answer();

bool is_header_name(std::string_view name);
// Can't a value end its line, or hide something?
bool is_header_value(std::string_view value);

// A whole page that says no, of the status and its usual words alone.
void answer_refusal(int status);

}  // namespace tarnel
