#include "tests/platform/contracts/UserDefaultsContract.h"

#include <memory>

#include "core/settings/JsonUserDefaults.h"
#include "tests/support/fakes/FakeUserDefaults.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto::test {
namespace {

struct JsonFileStage final : Stage<UserDefaults> {
  UserDefaults& subject() override { return defaults; }

  TemporaryFolder folder;
  JsonUserDefaults defaults{folder / "defaults.json", Logger()};
};

INSTANTIATE_TEST_SUITE_P(, UserDefaultsContract,
                         testing::Values(fake<UserDefaults, FakeUserDefaults>(),
                                         Implementation<UserDefaults>{
                                             "jsonFile", [] { return std::make_unique<JsonFileStage>(); }}),
                         nameOf<UserDefaults>);

}  // namespace
}  // namespace tevanto::test
