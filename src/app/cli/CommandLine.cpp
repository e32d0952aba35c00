#include "app/cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <map>
#include <utility>

namespace tevanto {
namespace {

constexpr const char* kClosing =
    "Without a command it starts the companion, or shows the one that runs.\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage, 3 no companion runs.";

/// The commands of the program, and what each fills in.
class Parser {
 public:
  Parser() : app_("The companion that puts this computer within reach of its owner's phone.", "tevanto") {
    app_.set_version_flag("--version", "tevanto " TEVANTO_VERSION, "Print the version and end");
    app_.footer(kClosing);
    app_.require_subcommand(0, 1);
    addCompanionOptions();
    addStatus();
    addKeepAwake();
    addDefaults();
    addDoctor();
  }

  Invocation parse(int argc, const char* const* argv) {
    try {
      app_.parse(argc, argv);
    } catch (const CLI::ParseError& end) {
      // Help and version come this way too, with code 0.
      return EndNow{app_.exit(end) == 0 ? 0 : static_cast<int>(ExitCode::usage)};
    }
    return chosen_ ? *chosen_ : Invocation(companion_);
  }

 private:
  void addCompanionOptions() {
    app_.add_flag("--headless", companion_.headless, "Run without a window and without an icon in the tray");
    // What a companion starts itself anew with, not for users.
    app_.add_flag("--lost-display", companion_.lostDisplay)->group("");
    app_.add_option("--remote-port", companion_.remotePort,
                    "TCP port of the control channel; 0: any free one");
    app_.add_option("--screen-port", companion_.screenPort, "TCP port of mirroring; 0: any free one");
    app_.add_flag("--loopback-only", companion_.loopbackOnly, "Accept connections of this computer only");
    app_.add_flag("--no-discovery", companion_.noDiscovery, "Do not advertise on the local network");
  }

  void addStatus() {
    auto* command = app_.add_subcommand("status", "Show what the running companion is doing");
    command->add_flag("--json", status_.json, "As one JSON object");
    command->callback([this] { chosen_ = status_; });
  }

  void addKeepAwake() {
    auto* command = app_.add_subcommand("keep-awake", "Keep this computer from idle sleep, or stop doing so");
    command->add_option("on|off", keepAwake_.on, "on or off")
        ->required()
        ->transform(CLI::CheckedTransformer(std::map<std::string, bool>{{"on", true}, {"off", false}})
                        .description("{on,off}"));
    command->callback([this] { chosen_ = keepAwake_; });
  }

  void addDefaults() {
    auto* command = app_.add_subcommand("defaults", "Read and change the stored settings");
    command->require_subcommand(1);
    addDefaultsAction(*command, "list", "Print every setting; secrets are hidden",
                      DefaultsOptions::Action::list);
    addDefaultsAction(*command, "get", "Print one setting", DefaultsOptions::Action::get);
    auto* set = addDefaultsAction(*command, "set", "Store a setting", DefaultsOptions::Action::set);
    set->add_option("value", defaults_.value, "The value")->required();
    set->add_option("--type", defaults_.type, "string, bool, int, float, array (JSON), or auto")
        ->transform(CLI::CheckedTransformer(std::map<std::string, DefaultsOptions::Type>{
                                                {"auto", DefaultsOptions::Type::automatic},
                                                {"string", DefaultsOptions::Type::string},
                                                {"bool", DefaultsOptions::Type::boolean},
                                                {"int", DefaultsOptions::Type::integer},
                                                {"float", DefaultsOptions::Type::real},
                                                {"array", DefaultsOptions::Type::array}})
                        .description("TYPE"));
    addDefaultsAction(*command, "remove", "Forget a setting", DefaultsOptions::Action::remove);
  }

  CLI::App* addDefaultsAction(CLI::App& defaults, const char* name, const char* description,
                              DefaultsOptions::Action action) {
    auto* command = defaults.add_subcommand(name, description);
    if (action != DefaultsOptions::Action::list) {
      command->add_option("key", defaults_.key, "The name of the setting")->required();
    }
    command->callback([this, action] {
      defaults_.action = action;
      chosen_ = defaults_;
    });
    return command;
  }

  void addDoctor() {
    auto* command =
        app_.add_subcommand("doctor", "Try everything that the companion needs, and say what to mend");
    command->add_flag("--json", doctor_.json, "As one JSON object");
    command->add_option("--remote-port", doctor_.remotePort, "TCP port of the control channel");
    command->add_option("--screen-port", doctor_.screenPort, "TCP port of mirroring");
    command->callback([this] { chosen_ = doctor_; });
  }

  CLI::App app_;
  CompanionOptions companion_;
  StatusOptions status_;
  KeepAwakeOptions keepAwake_;
  DefaultsOptions defaults_;
  DoctorOptions doctor_;
  std::optional<Invocation> chosen_;
};

}  // namespace

Invocation parseCommandLine(int argc, const char* const* argv) { return Parser().parse(argc, argv); }

}  // namespace tevanto
