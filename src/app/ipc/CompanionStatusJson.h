#pragma once

// Private to this folder: the status as a part of a larger JSON text.

#include <boost/json/fwd.hpp>

namespace tevanto {

struct CompanionStatus;

boost::json::object toJson(const CompanionStatus& status);
CompanionStatus companionStatusFrom(const boost::json::object& object);

}  // namespace tevanto
