#include "core/settings/JsonUserDefaults.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "core/text/Decimals.h"
#include "tests/support/fakes/RecordingFileSystem.h"
#include "tests/support/fakes/RecordingLogSink.h"
#include "tests/support/programs/TemporaryFolder.h"
#include "tests/support/programs/TestFiles.h"

namespace tevanto {
namespace {

namespace fs = std::filesystem;
using test::contentOf;
using test::fill;
using test::modeOf;
using Kind = test::RecordingFileSystem::Kind;
using Strings = std::vector<std::string>;

class JsonDefaults : public ::testing::Test {
 protected:
  JsonUserDefaults open() { return {file_, Logger(log_, "defaults"), files_}; }
  bool reported(const std::string& part) const {
    for (const auto& line : log_->lines())
      if (line.level == LogLevel::error && line.text.find(part) != std::string::npos) return true;
    return false;
  }

  test::TemporaryFolder folder_;
  const fs::path file_ = folder_ / "tevanto" / "defaults.json";
  const fs::path aside_ = file_.string() + ".unreadable-1";
  std::shared_ptr<test::RecordingLogSink> log_ = std::make_shared<test::RecordingLogSink>();
  std::shared_ptr<test::RecordingFileSystem> files_ = std::make_shared<test::RecordingFileSystem>();
};

/// The same, with a folder and a file of a chosen content.
class StoredJsonDefaults : public JsonDefaults {
 protected:
  StoredJsonDefaults() { fs::create_directory(file_.parent_path()); }
};

TEST_F(JsonDefaults, startsEmptyAndLeavesTheDiskAlone) {
  const auto defaults = open();
  EXPECT_TRUE(defaults.all().empty());
  EXPECT_EQ(defaults.value("any"), std::nullopt);
  EXPECT_FALSE(fs::exists(file_.parent_path()));
  EXPECT_TRUE(log_->lines().empty());
}

TEST_F(JsonDefaults, keepsEachKindOfValue) {
  const std::map<std::string, DefaultsValue> values = {
      {"flag", true},
      {"int", std::numeric_limits<std::int64_t>::min()},
      {"double", 0.5},
      {"text", std::string("Grüße\n\"x\"\\ \0 \x01 👍", 21)},
      {"empty", std::string()},
      {"list", Strings{"a", "", "ß"}},
      {"none", Strings{}},
      {"", std::string("no name")},
      {"dotted.key", false},
      {"data", DefaultsData{std::byte{0}, std::byte{0xFF}, std::byte{'{'}}},
      {"no data", DefaultsData{}},
  };
  {
    auto defaults = open();
    for (const auto& [key, value] : values) ASSERT_TRUE(defaults.set(key, value).ok()) << key;
    EXPECT_EQ(defaults.all(), values);
  }
  EXPECT_EQ(open().all(), values);
}

TEST_F(JsonDefaults, makesAPrivateFileInAPrivateFolder) {
  auto defaults = open();
  ASSERT_TRUE(defaults.set("remotePairingToken", std::string("secret")).ok());
  EXPECT_EQ(modeOf(file_), 0600);
  EXPECT_EQ(modeOf(file_.parent_path()), 0700);
  EXPECT_EQ(modeOf(file_.string() + ".lock"), 0600);
}

TEST_F(JsonDefaults, removes) {
  auto defaults = open();
  ASSERT_TRUE(defaults.set("a", true).ok());
  ASSERT_TRUE(defaults.set("b", true).ok());
  ASSERT_TRUE(defaults.remove("a").ok());
  ASSERT_TRUE(defaults.remove("never there").ok());
  EXPECT_EQ(defaults.value("a"), std::nullopt);
  EXPECT_EQ(open().all(), (std::map<std::string, DefaultsValue>{{"b", true}}));
}

TEST_F(JsonDefaults, readsStringsAndBooleansOnlyFromTheirKind) {
  auto defaults = open();
  ASSERT_TRUE(defaults.set("text", std::string("true")).ok());
  ASSERT_TRUE(defaults.set("flag", true).ok());
  ASSERT_TRUE(defaults.set("off", false).ok());
  ASSERT_TRUE(defaults.set("one", std::int64_t{1}).ok());
  EXPECT_EQ(defaults.string("text"), "true");
  EXPECT_EQ(defaults.string("flag"), std::nullopt);
  EXPECT_EQ(defaults.string("absent"), std::nullopt);
  EXPECT_TRUE(defaults.boolean("flag"));
  EXPECT_FALSE(defaults.boolean("off"));
  EXPECT_FALSE(defaults.boolean("one"));
  EXPECT_FALSE(defaults.boolean("text"));
  EXPECT_FALSE(defaults.boolean("absent"));
}

TEST_F(JsonDefaults, comparesStringsThatMayBeAbsent) {
  auto defaults = open();
  ASSERT_TRUE(defaults.set("token", std::string("A")).ok());
  ASSERT_TRUE(defaults.set("flag", true).ok());
  EXPECT_TRUE(defaults.stringEquals("token", "A"));
  EXPECT_FALSE(defaults.stringEquals("token", "a"));
  EXPECT_FALSE(defaults.stringEquals("token", "AA"));
  EXPECT_FALSE(defaults.stringEquals("token", ""));
  EXPECT_FALSE(defaults.stringEquals("token", std::nullopt));
  EXPECT_TRUE(defaults.stringEquals("absent", std::nullopt));
  EXPECT_FALSE(defaults.stringEquals("absent", ""));
  EXPECT_TRUE(defaults.stringEquals("flag", std::nullopt)) << "what is no string is no string";
  EXPECT_FALSE(defaults.stringEquals("flag", "true"));
}

TEST_F(JsonDefaults, seesWhatAnotherWroteAfterAReload) {
  auto one = open();
  auto other = open();
  ASSERT_TRUE(one.set("a", true).ok());
  EXPECT_FALSE(other.boolean("a"));
  other.reload();
  EXPECT_TRUE(other.boolean("a"));
}

TEST_F(JsonDefaults, writesIntoWhatAnotherWroteMeanwhile) {
  auto one = open();
  auto other = open();
  ASSERT_TRUE(one.set("a", true).ok());
  ASSERT_TRUE(other.set("b", true).ok());
  EXPECT_EQ(open().all().size(), 2u);
  EXPECT_TRUE(other.boolean("a")) << "a write shows what else has changed";
}

struct Damage {
  const char* name;
  std::string content;
};

class DamagedJsonDefaults : public StoredJsonDefaults, public ::testing::WithParamInterface<Damage> {};

TEST_P(DamagedJsonDefaults, areKeptAsideReportedAndNeverOverwritten) {
  fill(file_, GetParam().content);
  auto defaults = open();
  EXPECT_TRUE(defaults.all().empty());
  EXPECT_TRUE(reported(aside_.string()));
  EXPECT_EQ(contentOf(aside_), GetParam().content);
  ASSERT_TRUE(defaults.set("a", true).ok());
  EXPECT_EQ(contentOf(aside_), GetParam().content);
  EXPECT_TRUE(open().boolean("a"));
}

std::string nested(int depth) {
  return "{\"a\":" + std::string(static_cast<std::size_t>(depth), '[') +
         std::string(static_cast<std::size_t>(depth), ']') + "}";
}

INSTANTIATE_TEST_SUITE_P(Contents, DamagedJsonDefaults,
                         ::testing::Values(Damage{"empty", ""}, Damage{"noJson", "remotePairingToken=1"},
                                           Damage{"truncated", "{\"a\":tr"}, Damage{"array", "[1]"},
                                           Damage{"null", "null"}, Damage{"trailing", "{} {}"},
                                           Damage{"invalidUtf8", "{\"a\":\"\xFF\"}"},
                                           Damage{"surrogate", "{\"a\":\"\xED\xA0\x80\"}"},
                                           Damage{"numberOutOfRange", R"({"a":[{"b":1e400}]})"},
                                           Damage{"zeros", std::string(512, '\0')},
                                           Damage{"deep", nested(1000)},
                                           Damage{"tooLarge", "{}" + std::string(5u << 20, ' ')}),
                         [](const auto& test) { return test.param.name; });

TEST_F(StoredJsonDefaults, areDamagedAtEachPlaceWhereTheyMayEnd) {
  const std::string whole = R"({"a":"é\n","b":[1,{"c":null}],"d":1.5e3})";
  for (std::size_t length = 0; length < whole.size(); ++length) {
    fill(file_, whole.substr(0, length));
    EXPECT_TRUE(open().all().empty());
    EXPECT_EQ(contentOf(file_.string() + ".unreadable-" + std::to_string(length + 1)),
              whole.substr(0, length))
        << "each under a name of its own";
  }
}

TEST_F(StoredJsonDefaults, damagedWhileRunningAreKeptAsideByTheNextWrite) {
  fill(file_, R"({"a":true})");
  auto defaults = open();
  fill(file_, "damaged");
  ASSERT_TRUE(defaults.set("b", true).ok());
  EXPECT_EQ(contentOf(aside_), "damaged");
  EXPECT_TRUE(reported("damaged") || reported("is not a JSON object"));
  EXPECT_TRUE(open().boolean("b"));
}

TEST_F(StoredJsonDefaults, thatCannotBeKeptAsideAreNotOverwritten) {
  fill(file_, "damaged");
  files_->fault = [](Kind kind, const fs::path&) {
    return kind == Kind::rename ? std::make_error_code(std::errc::read_only_file_system) : std::error_code();
  };
  auto defaults = open();
  const auto done = defaults.set("a", true);
  ASSERT_FALSE(done.ok());
  EXPECT_NE(done.error().find("cannot be kept aside: Read-only file system"), std::string::npos)
      << done.error();
  EXPECT_EQ(contentOf(file_), "damaged");
}

class RefusedJsonDefaults : public StoredJsonDefaults, public ::testing::WithParamInterface<std::errc> {};

TEST_P(RefusedJsonDefaults, areReportedAndLeftAlone) {
  const std::string content = R"({"remotePairingToken":"A"})";
  fill(file_, content);
  files_->readFault = std::make_error_code(GetParam());
  auto defaults = open();
  EXPECT_TRUE(reported(files_->readFault.message()));
  const auto done = defaults.set("a", true);
  ASSERT_FALSE(done.ok());
  EXPECT_NE(done.error().find(files_->readFault.message()), std::string::npos) << done.error();
  EXPECT_EQ(contentOf(file_), content);
  EXPECT_FALSE(fs::exists(aside_));
  files_->readFault = {};
  ASSERT_TRUE(defaults.set("a", true).ok()) << "and used again once the system allows it";
  EXPECT_EQ(open().string("remotePairingToken"), "A");
}

INSTANTIATE_TEST_SUITE_P(Reasons, RefusedJsonDefaults,
                         ::testing::Values(std::errc::permission_denied, std::errc::io_error,
                                           std::errc::too_many_files_open, std::errc::not_enough_memory));

TEST_F(StoredJsonDefaults, ofAnotherUserAreNotTouchedByTheRealSystem) {
  fill(file_, R"({"a":true})");
  fs::permissions(file_, fs::perms::none);
  // The way to the file is open to everybody, the file is not.
  fs::permissions(folder_.path(), fs::perms::owner_all | fs::perms::others_exec);
  const pid_t pid = ::fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    // Root reads everything: become nobody for this. The folder stays root's, so that nothing can be written.
    if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) ::_exit(3);
    auto defaults = open();
    const bool refused = defaults.all().empty() && !defaults.set("b", true).ok();
    ::_exit(refused && reported("Permission denied") ? 0 : 1);
  }
  int status = -1;
  ::waitpid(pid, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 0);
  fs::permissions(file_, fs::perms::owner_read);
  EXPECT_EQ(contentOf(file_), R"({"a":true})");
  EXPECT_FALSE(fs::exists(aside_));
}

TEST_F(StoredJsonDefaults, keepDataAsBase64BesideWhatIsNone) {
  fill(file_, R"({"data":{"base64":"AP8="},"damaged":{"base64":"A"},"number":{"base64":1},)"
              R"("two":{"base64":"","x":1},"text":"AP8="})");
  auto defaults = open();
  const DefaultsData bytes{std::byte{0}, std::byte{0xFF}};
  EXPECT_EQ(defaults.data("data"), bytes);
  for (const auto* key : {"damaged", "number", "two"}) EXPECT_EQ(defaults.value(key), std::nullopt) << key;
  EXPECT_EQ(defaults.data("text"), std::nullopt) << "a text is none";
  EXPECT_EQ(defaults.string("data"), std::nullopt) << "nor the other way round";
  EXPECT_TRUE(defaults.stringEquals("data", std::nullopt));
  ASSERT_TRUE(defaults.set("written", bytes).ok());
  const auto after = contentOf(file_);
  for (const auto* member : {R"("data":{"base64":"AP8="})", R"("written":{"base64":"AP8="})",
                             R"("damaged":{"base64":"A"})", R"("two":{"base64":"","x":1})"})
    EXPECT_NE(after.find(member), std::string::npos) << member << " in " << after;
}

TEST_F(StoredJsonDefaults, keepWhatTheyDoNotUnderstand) {
  const std::string unknown =
      R"({"object":{"x":[1,null,{"y":"z"}]},"null":null,"mixed":[1,"a"],"large":18446744073709551615,"double":1.5})";
  fill(file_, unknown);
  auto defaults = open();
  EXPECT_EQ(defaults.value("object"), std::nullopt);
  EXPECT_EQ(defaults.value("mixed"), std::nullopt);
  EXPECT_EQ(defaults.value("large"), std::nullopt);
  EXPECT_EQ(defaults.all(), (std::map<std::string, DefaultsValue>{{"double", 1.5}}));
  ASSERT_TRUE(defaults.set("a", true).ok());
  ASSERT_TRUE(defaults.remove("a").ok());
  const auto after = contentOf(file_);
  for (const char* member : {R"("object":{"x":[1,null,{"y":"z"}]})", R"("null":null)", R"("mixed":[1,"a"])",
                             R"("large":18446744073709551615)"})
    EXPECT_NE(after.find(member), std::string::npos) << member << " in " << after;
}

TEST_F(JsonDefaults, doublesStayTheSameThroughManyWrites) {
  std::vector<double> values = {
      0.1,  1.0 / 3, 0.0015, 2.2250738585072014e-308,         1.7976931348623157e308,
      -0.7, -0.0,    5e-324, 123456789012345678901234567890.0};
  std::mt19937_64 random(7);
  while (values.size() < 500) {
    const double any = std::bit_cast<double>(random());
    if (std::isfinite(any)) values.push_back(any);
  }
  auto text = std::string("{");
  for (std::size_t i = 0; i < values.size(); ++i) {
    char digits[40];
    std::string number(digits, toChars(digits, digits + sizeof digits, values[i]).ptr);
    if (number.find_first_of(".e") == std::string::npos) number += ".0";  // else an integer
    text += "\"" + std::to_string(i) + "\":" + number + ",";
  }
  fs::create_directory(file_.parent_path());
  fill(file_, text + "\"n\":0}");
  auto defaults = open();
  for (int n = 0; n < 5; ++n) ASSERT_TRUE(defaults.set("n", std::int64_t{n}).ok());
  for (std::size_t i = 0; i < values.size(); ++i)
    EXPECT_EQ(open().value(std::to_string(i)), DefaultsValue(values[i])) << values[i];
}

TEST_F(JsonDefaults, refuseWhatCouldNotBeReadBack) {
  auto defaults = open();
  ASSERT_TRUE(defaults.set("a", std::string("kept")).ok());
  const auto before = contentOf(file_);
  EXPECT_FALSE(defaults.set("b", std::string("\xFF")).ok());
  EXPECT_FALSE(defaults.set("\xC3", true).ok());
  EXPECT_FALSE(defaults.set("b", Strings{"ok", "\xED\xA0\x80"}).ok());
  EXPECT_FALSE(defaults.set("b", std::nan("")).ok());
  EXPECT_FALSE(defaults.set("b", std::numeric_limits<double>::infinity()).ok());
  EXPECT_FALSE(defaults.set("b", std::string(5u << 20, 'x')).ok());
  EXPECT_EQ(contentOf(file_), before);
  EXPECT_EQ(defaults.value("b"), std::nullopt);
  EXPECT_EQ(open().string("a"), "kept");
}

TEST_F(JsonDefaults, sayWhyTheyCannotBeWrittenAndKeepWhatTheyHad) {
  auto defaults = open();
  ASSERT_TRUE(defaults.set("a", std::string("old")).ok());
  files_->fault = [](Kind kind, const fs::path&) {
    return kind == Kind::write ? std::make_error_code(std::errc::no_space_on_device) : std::error_code();
  };
  const auto done = defaults.set("a", std::string("new"));
  ASSERT_FALSE(done.ok());
  EXPECT_NE(done.error().find("No space left on device"), std::string::npos) << done.error();
  EXPECT_EQ(defaults.string("a"), "old");
  EXPECT_EQ(open().string("a"), "old");
}

TEST_F(JsonDefaults, showWhatTheFileHoldsWhenOnlyTheFolderCouldNotBeSynced) {
  auto defaults = open();
  ASSERT_TRUE(defaults.set("a", std::string("old")).ok());
  files_->fault = [](Kind kind, const fs::path&) {
    return kind == Kind::syncFolder ? std::make_error_code(std::errc::io_error) : std::error_code();
  };
  EXPECT_FALSE(defaults.set("a", std::string("new")).ok());
  EXPECT_EQ(defaults.string("a"), open().string("a"));
}

TEST_F(JsonDefaults, sayWhyTheirFolderCannotBeMade) {
  fill(folder_ / "tevanto", "a file where the folder should be");
  auto defaults = open();
  const auto done = defaults.set("a", true);
  ASSERT_FALSE(done.ok());
  EXPECT_NE(done.error().find("tevanto"), std::string::npos) << done.error();
  EXPECT_EQ(defaults.value("a"), std::nullopt);
}

TEST_F(JsonDefaults, ofTwoProcessesWritingAtOnceLoseNothing) {
  constexpr int kKeys = 60;
  std::vector<pid_t> writers;
  for (const char* name : {"left", "right", "third"}) {
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      auto defaults = open();
      for (int n = 0; n < kKeys; ++n)
        if (!defaults.set(name + std::to_string(n), std::int64_t{n})) ::_exit(1);
      ::_exit(0);
    }
    writers.push_back(pid);
  }
  for (const pid_t pid : writers) {
    int status = -1;
    ::waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(open().all().size(), 3u * kKeys);
}

TEST_F(JsonDefaults, standardFileFollowsTheDesktopsRules) {
  const auto fileWith = [](const char* config, const char* home) {
    config ? ::setenv("XDG_CONFIG_HOME", config, 1) : ::unsetenv("XDG_CONFIG_HOME");
    home ? ::setenv("HOME", home, 1) : ::unsetenv("HOME");
    return JsonUserDefaults::standardFile("defaults.json").string();
  };
  const std::string home = std::getenv("HOME") ? std::getenv("HOME") : "";
  EXPECT_EQ(fileWith("/conf", "/home/u"), "/conf/tevanto/defaults.json");
  EXPECT_EQ(fileWith(nullptr, "/home/u"), "/home/u/.config/tevanto/defaults.json");
  EXPECT_EQ(fileWith("", "/home/u"), "/home/u/.config/tevanto/defaults.json");
  EXPECT_EQ(fileWith("relative", "/home/u"), "/home/u/.config/tevanto/defaults.json");
  EXPECT_EQ(fileWith(nullptr, nullptr), "/.config/tevanto/defaults.json");
  ::setenv("HOME", home.c_str(), 1);
}

}  // namespace
}  // namespace tevanto
