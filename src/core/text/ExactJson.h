#pragma once

#include <boost/json/object.hpp>
#include <cstddef>
#include <optional>
#include <string_view>

namespace tevanto {

/// One JSON object (RFC 8259) in valid UTF-8, nested up to `maxDepth` deep, in which every number is the
/// nearest that int64, uint64 or double can hold, so that what is read and written over and over never
/// drifts; the library's own reading of a fraction may be one unit in the last place off. Nothing when the
/// text is anything else, or holds a number beyond the range of double.
std::optional<boost::json::object> parseExactObject(std::string_view text, std::size_t maxDepth);

}  // namespace tevanto
