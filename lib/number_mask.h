// A number written through the template of a picture, such as "9,999.99".
#pragma once

#include <string>

namespace tarnel {

// Writes `value` through a mask that is not empty. The mask is rewritten to what was used (a second
// point becomes '#'). Result: the last PictureNotice, 0 none.
int number_through_mask(double value, std::string& mask, std::string& result);

}  // namespace tarnel
