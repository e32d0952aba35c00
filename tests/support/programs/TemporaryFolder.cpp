#include "tests/support/programs/TemporaryFolder.h"

#include <stdlib.h>

#include <stdexcept>
#include <string>
#include <system_error>

namespace tevanto::test {

TemporaryFolder::TemporaryFolder() {
  // Short, because the path of a Unix socket in it must fit into 107 bytes.
  std::string path = "/tmp/tevanto-test-XXXXXX";
  if (!::mkdtemp(path.data())) throw std::runtime_error("cannot create a folder under /tmp");
  path_ = path;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace tevanto::test
