#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "p2p/cloud/CloudDatabase.h"

namespace tevanto {

/// What is written of a record, by its fields' keys. Dates are seconds since 1970, as the framework counts
/// them.
struct CloudRecordFields {
  std::vector<std::pair<std::string, std::string>> texts;
  std::optional<double> created;
};
inline constexpr const char* kCloudCreatedField = "created";

CloudRecordFields fieldsOf(const CloudRecord& record);

/// A record that was read. `text` gives a field that is a text, or nothing.
CloudRecord cloudRecordOf(const std::string& name,
                          const std::function<std::optional<std::string>(const char* key)>& text,
                          std::optional<double> created, std::optional<double> serverCreated);

/// The number of the framework's account status (CKAccountStatus); one that is not known says nothing.
CloudAccountStatus cloudAccountStatusOf(long number);

/// The error of the one record that was asked for, out of that of the request.
CloudError errorOfOne(CloudError error);

/// What of an error is left where a record was to go: that it is not there is none.
std::optional<CloudError> removalError(CloudError error);

}  // namespace tevanto
