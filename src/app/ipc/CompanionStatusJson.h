#pragma once

// Only for the sources that put a status into a larger JSON text.

#include <boost/json/fwd.hpp>

namespace tevanto {

struct CompanionStatus;

boost::json::object toJson(const CompanionStatus& status);
CompanionStatus companionStatusFrom(const boost::json::object& object);

}  // namespace tevanto
