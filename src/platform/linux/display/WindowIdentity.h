#pragma once

#include <string>
#include <vector>

namespace tevanto {

/// WindowIdentity holds the names by which the windows of an application are known. They are compared without
/// regard to case.
struct WindowIdentity {
  std::vector<std::string> classes;  // either part of WM_CLASS
  std::string applicationId;         // _GTK_APPLICATION_ID
};

}  // namespace tevanto
