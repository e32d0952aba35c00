#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "p2p/cloud/CloudDatabase.h"

namespace tevanto {

/// CloudRecordFields holds the fields of a record to be written, by their keys. Dates are seconds since 1970,
/// as the framework counts them.
struct CloudRecordFields {
  std::vector<std::pair<std::string, std::string>> texts;
  std::optional<double> created;
};
inline constexpr const char* kCloudCreatedField = "created";

CloudRecordFields fieldsOf(const CloudRecord& record);

/// Makes a record from the fields that were read. `text` returns a field that is a text, or nothing.
CloudRecord cloudRecordOf(const std::string& name,
                          const std::function<std::optional<std::string>(const char* key)>& text,
                          std::optional<double> created, std::optional<double> serverCreated);

/// Translates the number of the framework's account status (CKAccountStatus). An unknown number means that
/// the status is not known.
CloudAccountStatus cloudAccountStatusOf(long number);

/// Returns the error of the one requested record, out of the error of the whole request.
CloudError errorOfOne(CloudError error);

/// Returns the error of a removal: a record that does not exist is no error.
std::optional<CloudError> removalError(CloudError error);

}  // namespace tevanto
