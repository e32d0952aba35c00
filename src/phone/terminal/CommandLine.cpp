#include "phone/terminal/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "phone/commands/CommandParts.h"
#include "phone/commands/KeyNames.h"

namespace tevanto::phone {
namespace {

constexpr int kDragSteps = 10;  // so that what is dragged over sees it pass
constexpr int kMaxClicks = 1000;

using Action = std::function<ExitCode(PhoneCommands&)>;

std::vector<RemoteCommand> drag(double dx, double dy) {
  std::vector<RemoteCommand> commands = {command("mouseDown")};
  for (int i = 0; i < kDragSteps; ++i) {
    commands.push_back(motion("movePointer", dx / kDragSteps, dy / kDragSteps));
  }
  commands.push_back(command("mouseUp"));
  return commands;
}

std::string finite(const std::string& text) {
  try {
    std::size_t used = 0;
    if (std::isfinite(std::stod(text, &used)) && used == text.size()) return "";
  } catch (const std::exception&) {  // the library's only way to say that it is no number
  }
  return "\"" + text + "\" is not a number";
}

std::string endpoint(const std::string& text) {
  return parseEndpoint(text) ? "" : "\"" + text + "\" is not HOST, HOST:PORT or [IPv6]:PORT";
}

std::string recording(const std::string& text) {
  return text.ends_with(".mp4") || text.ends_with(".h264")
             ? ""
             : "\"" + text + "\" is neither FILE.mp4 nor FILE.h264";
}

std::string key(const std::string& text) {
  return keyNamed(text) ? "" : "no key is called \"" + text + "\"; there are: " + keyNames();
}

/// The parser, what it has read, and what is to be done. Subcommands write into members, so it stays put.
class CommandLine {
 public:
  CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  int run(std::vector<std::string> arguments, const PhoneEnvironment& environment);

 private:
  void addGlobalOptions();
  void addCompanionCommands();
  void addPointerCommands();
  void addKeyboardCommands();
  void addSystemCommands();
  void addConfirmed(const std::string& name, const std::string& help, const std::string& question,
                    const std::string& type);
  void addLiveCommands();
  void addMirror();
  ExitCode mirror(PhoneCommands& phone);
  CLI::App& add(const std::string& name, const std::string& help, Action action);
  CLI::App& addSimple(const std::string& name, const std::string& help, const std::string& type) {
    return add(name, help, [type](PhoneCommands& phone) { return phone.perform({command(type)}); });
  }
  CLI::App& addMotion(const std::string& name, const std::string& help, Action action);
  RemoteCommand click() const;
  RemoteCommand keyPress() const;
  RemoteCommand with(const std::string& type, std::optional<std::string> RemoteCommand::*member) const;
  CompanionFinder::Choice choice() const;

  CLI::App app_{"Controls a computer that runs Tevanto, as the phone does.", "tevanto-phone"};
  Action action_;
  bool json_ = false;
  std::string host_;
  std::string companion_;
  PhoneCommands::AwayChoice away_;
  std::optional<double> timeout_;
  std::string text_;
  std::string folder_;
  double dx_ = 0;
  double dy_ = 0;
  bool right_ = false;
  int clicks_ = 1;
  bool shift_ = false;
  bool option_ = false;
  bool control_ = false;
  bool command_ = false;
  int percent_ = 0;
  bool yes_ = false;
  bool token_ = false;
  double linger_ = 1;
  bool view_ = false;
  std::string out_;
  std::string snapshot_;
  std::optional<double> seconds_;
  bool lowBandwidth_ = false;
  bool stats_ = false;
  std::string screenHost_;
};

CommandLine::CommandLine() {
  app_.require_subcommand(1);
  app_.set_version_flag("--version", "tevanto-phone " TEVANTO_VERSION);
  app_.footer("Exit status: 0 done, 1 not done, 2 usage, 3 not found, 4 refused, 5 connection lost.");
  addGlobalOptions();
  addCompanionCommands();
  addPointerCommands();
  addKeyboardCommands();
  addSystemCommands();
  addLiveCommands();
  addMirror();
}

void CommandLine::addGlobalOptions() {
  app_.add_flag("--json", json_, "Print one JSON object per reply");
  app_.add_option("--host", host_, "Connect to HOST[:PORT] or [IPv6][:PORT] instead of looking for it")
      ->check(CLI::Validator(endpoint, "ADDRESS"));
  app_.add_option(
      "--companion", companion_,
      "The companion of this name or identifier, when several answer, or when --host is new to this phone");
  app_.add_option("--away", away_.companion,
                  "Reach a companion on another network: its identifier, or its name when it is paired")
      ->excludes("--host", "--companion");
  app_.add_flag("--verbose", away_.verbose, "With --away: say how the call goes");
  app_.add_option("--timeout", timeout_, "Seconds to wait for the companion and for each reply")
      ->check(CLI::Range(0.05, 3600.0))
      ->default_str("5, or 20 with --away");
}

CLI::App& CommandLine::add(const std::string& name, const std::string& help, Action action) {
  auto* sub = app_.add_subcommand(name, help);
  sub->fallthrough();  // --json and the like may come last
  sub->callback([this, action = std::move(action)] { action_ = action; });
  return *sub;
}

void CommandLine::addCompanionCommands() {
  add("discover", "List the companions on the local network",
      [](PhoneCommands& phone) { return phone.discover(); });
  add("pair", "Pair with a companion by the code that it shows",
      [this](PhoneCommands& phone) { return phone.pair(text_); })
      .add_option("CODE", text_, "Six digits; `tevanto status` shows them")
      ->required();
  add("hello", "Say hello and show who answers", [](PhoneCommands& phone) { return phone.hello(); });
  add("state", "Show volume, mute, keep-awake and battery",
      [](PhoneCommands& phone) { return phone.state(); });
}

CLI::App& CommandLine::addMotion(const std::string& name, const std::string& help, Action action) {
  auto& sub = add(name, help, std::move(action));
  const CLI::Validator number(finite, "NUMBER");
  sub.add_option("DX", dx_, "To the right")->required()->check(number);
  sub.add_option("DY", dy_, "Down")->required()->check(number);
  return sub;
}

void CommandLine::addPointerCommands() {
  addMotion("move", "Move the pointer by points",
            [this](PhoneCommands& phone) { return phone.perform({motion("movePointer", dx_, dy_)}); });
  addMotion("drag", "Move the pointer with the left button held",
            [this](PhoneCommands& phone) { return phone.perform(drag(dx_, dy_)); });
  auto& scroll =
      addMotion("scroll", "Scroll by pixels, positive to the left and up",
                [this](PhoneCommands& phone) { return phone.perform({motion("scroll", dx_, dy_)}); });
  scroll.get_option("DX")->description("To the left");
  scroll.get_option("DY")->description("Up");
  auto& sub = add("click", "Click where the pointer is",
                  [this](PhoneCommands& phone) { return phone.perform({click()}); });
  sub.add_flag("--right", right_, "With the right button");
  sub.add_option("-n", clicks_, "How often: 2 for a double click")->check(CLI::Range(1, kMaxClicks));
}

void CommandLine::addKeyboardCommands() {
  auto& key = add("key", "Press a key", [this](PhoneCommands& phone) { return phone.perform({keyPress()}); });
  key.add_option("KEY", text_, keyNames())->required()->check(CLI::Validator(tevanto::phone::key, "KEY"));
  key.add_flag("--command", command_, "Hold command");
  key.add_flag("--shift", shift_, "Hold shift");
  key.add_flag("--option", option_, "Hold option");
  key.add_flag("--control", control_, "Hold control");
  add("type", "Type a text", [this](PhoneCommands& phone) { return phone.type(text_); })
      .add_option("TEXT", text_, "UTF-8; \"-\" reads standard input")
      ->required();
  add("gesture", "Perform a system gesture",
      [this](PhoneCommands& phone) {
        return phone.perform({with("systemGesture", &RemoteCommand::gesture)});
      })
      .add_option("NAME", text_)
      ->required()
      ->check(CLI::IsMember(std::vector<std::string>{"missionControl", "appWindows", "spaceLeft",
                                                     "spaceRight", "showDesktop", "launchpad"}));
  addSimple("select-all", "Select everything", "selectAll");
}

void CommandLine::addSystemCommands() {
  add("volume", "Set the output volume",
      [this](PhoneCommands& phone) {
        auto given = command("setVolume");
        given.level = percent_ / 100.0;
        return phone.perform({given});
      })
      .add_option("PERCENT", percent_)
      ->required()
      ->check(CLI::Range(0, 100));
  addSimple("mute", "Switch mute on or off", "toggleMute");
  add("apps", "List the applications", [this](PhoneCommands& phone) {
    return phone.apps(folder_);
  }).add_option("--icons", folder_, "Write the icons into this folder");
  add("open", "Open an application",
      [this](PhoneCommands& phone) { return phone.perform({with("openApp", &RemoteCommand::appId)}); })
      .add_option("ID", text_, "Its identifier, as `apps` lists it")
      ->required();
  addSimple("lock", "Lock the screen", "powerLock");
  addConfirmed("restart", "Restart the computer", "Restart the computer?", "powerRestart");
  addConfirmed("shutdown", "Shut the computer down", "Shut the computer down?", "powerShutdown");
  addConfirmed("logout", "Log the user out", "Log the user out?", "powerLogout");
  addSimple("play-pause", "Play or pause", "mediaPlayPause");
  addSimple("next", "Next track", "mediaNext");
  addSimple("previous", "Previous track", "mediaPrevious");
  add("keep-awake", "Keep the computer from idle sleep",
      [this](PhoneCommands& phone) { return phone.keepAwake(text_ == "on"); })
      .add_option("STATE", text_, "on or off")
      ->required()
      ->check(CLI::IsMember(std::vector<std::string>{"on", "off"}));
}

void CommandLine::addConfirmed(const std::string& name, const std::string& help, const std::string& question,
                               const std::string& type) {
  add(name, help + ", after a confirmation", [this, question, type](PhoneCommands& phone) {
    return phone.performConfirmed(question, yes_, command(type));
  }).add_flag("--yes", yes_, "Do not ask");
}

void CommandLine::addLiveCommands() {
  add("touchpad", "Drive the pointer with the arrow keys and the mouse of this terminal",
      [](PhoneCommands& phone) { return phone.touchpad(); });
  auto& raw =
      add("raw", "Send the JSON lines of standard input, print the replies", [this](PhoneCommands& phone) {
        return phone.raw(token_, std::chrono::milliseconds(std::lround(linger_ * 1000)));
      });
  raw.add_flag("--token", token_, "Add the stored token to commands that carry none");
  raw.add_option("--linger", linger_, "Seconds to wait for a further reply after the input's end")
      ->check(CLI::Range(0.0, 3600.0))
      ->capture_default_str();
}

void CommandLine::addMirror() {
  auto& sub = add("mirror", "Show or record the computer's screen",
                  [this](PhoneCommands& phone) { return mirror(phone); });
  sub.add_flag("--view", view_, "In a window that sends pointer and keys back");
  sub.add_option("--out", out_, "Record into FILE.mp4, or FILE.h264 for the bare stream")
      ->check(CLI::Validator(recording, "FILE"));
  sub.add_option("--snapshot", snapshot_,
                 "Write the first picture, or with --seconds the last, into FILE.png");
  sub.add_option("--seconds", seconds_, "End so long after the first picture; else Ctrl-C ends it")
      ->check(CLI::Range(0.0, 1e6));
  sub.add_flag("--low-bandwidth", lowBandwidth_, "Ask for smaller pictures at a lower rate");
  sub.add_flag("--stats", stats_,
               "Show every second how it goes; the delay is that from asking for a key frame to its picture");
  sub.add_option("--screen-host", screenHost_, "Where the screen is, when not at --host and the usual port")
      ->check(CLI::Validator(endpoint, "ADDRESS"));
}

ExitCode CommandLine::mirror(PhoneCommands& phone) {
  MirrorSettings settings{
      .view = view_, .out = out_, .snapshot = snapshot_, .lowBandwidth = lowBandwidth_, .stats = stats_};
  if (seconds_) settings.duration = std::chrono::milliseconds(std::llround(*seconds_ * 1000));
  if (!screenHost_.empty()) settings.screenHost = parseEndpoint(screenHost_, kScreenPort);
  return phone.mirror(std::move(settings));
}

RemoteCommand CommandLine::click() const {
  auto given = command("click");
  given.button = right_ ? "right" : "left";
  given.clicks = clicks_;
  return given;
}

RemoteCommand CommandLine::keyPress() const {
  const auto named = keyNamed(text_).value_or(NamedKey{text_});
  auto given = command("keyPress");
  given.key = named.key;
  std::vector<RemoteModifier> modifiers;
  if (shift_ || named.shift) modifiers.push_back(RemoteModifier::shift);
  if (option_) modifiers.push_back(RemoteModifier::option);
  if (control_) modifiers.push_back(RemoteModifier::control);
  if (command_) modifiers.push_back(RemoteModifier::command);
  if (!modifiers.empty()) given.modifiers = std::move(modifiers);
  return given;
}

RemoteCommand CommandLine::with(const std::string& type,
                                std::optional<std::string> RemoteCommand::*member) const {
  auto given = command(type);
  given.*member = text_;
  return given;
}

CompanionFinder::Choice CommandLine::choice() const {
  return {
      host_.empty() ? std::nullopt : parseEndpoint(host_), companion_,
      std::chrono::milliseconds(std::lround(timeout_.value_or(away_.companion.empty() ? 5.0 : 20.0) * 1000))};
}

int CommandLine::run(std::vector<std::string> arguments, const PhoneEnvironment& environment) {
  try {
    std::reverse(arguments.begin(), arguments.end());  // the library takes them from the back
    app_.parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    const int status = app_.exit(error, environment.out, environment.err);
    return static_cast<int>(status == 0 ? ExitCode::done : ExitCode::usage);
  }
  const auto format = json_ ? PhoneOutput::Format::json : PhoneOutput::Format::text;
  PhoneCommands phone(environment, format, choice(), away_);
  return static_cast<int>(action_(phone));
}

}  // namespace

int runPhone(std::vector<std::string> arguments, PhoneEnvironment environment) {
  return CommandLine().run(std::move(arguments), environment);
}

}  // namespace tevanto::phone
