// The download addresses of the update database are stored enciphered, so the database does
// not hand out a plain list of them.
#pragma once

#include <string>
#include <string_view>

namespace vantrel {

// The stored text of a plain address.
std::string EncipherAddress(std::string_view plain);
// The plain address of a stored text; false when the text does not decipher (wrong length, not
// hex, bad padding).
bool DecipherAddress(std::string_view stored, std::string* plain);

} // namespace vantrel
