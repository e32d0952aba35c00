#pragma once

#include <chrono>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "phone/connection/Answer.h"
#include "phone/connection/AwayChannel.h"
#include "phone/connection/CompanionFinder.h"
#include "phone/connection/PairedCompanions.h"
#include "phone/connection/PhoneSession.h"
#include "phone/connection/Route.h"
#include "phone/terminal/Mirror.h"
#include "phone/terminal/PhoneOutput.h"

namespace tevanto::phone {

/// PhoneEnvironment holds the dependencies of the program. All of them outlive it.
struct PhoneEnvironment {
  ServiceBrowser* browser = nullptr;
  UserDefaults& defaults;
  std::ostream& out;
  std::ostream& err;
  int input = 0;  // descriptors of the terminal, for what is read and for the touchpad
  int output = 1;
  /// Loaded only for mirroring: every other command would wait for libraries that it does not need. Empty
  /// in a build without mirroring.
  std::function<Result<std::shared_ptr<MirrorMedia>>()> media = {};
  /// Makes the environment of calls to companions on other networks. It is made only when one is called, and
  /// outlives the commands. Empty in a build without such calls.
  std::function<Result<AwayChannel::Environment>(bool verbose)> away = {};
};

/// The subcommands of `tevanto-phone`. Each finds the companion, talks to it, prints what it said, and
/// returns how the program ends.
class PhoneCommands {
 public:
  /// Whom to call on another network.
  struct AwayChoice {
    std::string companion;  // device identifier, or the name of a paired one; empty: nobody
    bool verbose = false;   // say how the call goes
  };

  PhoneCommands(PhoneEnvironment environment, PhoneOutput::Format format, CompanionFinder::Choice choice,
                AwayChoice away);

  ExitCode discover();
  ExitCode pair(const std::string& code);
  ExitCode hello();
  ExitCode perform(const std::vector<RemoteCommand>& commands);
  /// `text` "-" reads standard input.
  ExitCode type(const std::string& text);
  /// Asks first, unless `assumeYes`.
  ExitCode performConfirmed(const std::string& question, bool assumeYes, const RemoteCommand& command);
  /// With a folder, writes the icons there.
  ExitCode apps(const std::string& iconFolder);
  ExitCode keepAwake(bool on);
  ExitCode state();
  ExitCode touchpad();
  ExitCode mirror(MirrorSettings settings);
  ExitCode raw(bool addToken, std::chrono::milliseconds linger);

 private:
  struct Greeted {
    PhoneSession session;
    RemoteMessage ready;
  };
  Answer<Greeted> greet(const GivesUp& givesUp = {});
  Answer<PhoneSession> connect(const Target& target, const GivesUp& givesUp = {});
  Answer<Target> find(CompanionFinder::For purpose);
  /// The route that was chosen. It is made when it is first asked for.
  Answer<Route*> route();
  std::optional<std::string> tokenFor(const Target& target) const;
  /// The advice after a refusal by a companion that this phone has no token of.
  Trouble strangerTrouble(const Target& target, Trouble trouble) const;

  PhoneEnvironment environment_;
  PhoneOutput output_;
  std::chrono::milliseconds timeout_;
  PairedCompanions paired_;
  CompanionFinder finder_;
  AwayChoice away_;
  std::unique_ptr<Route> route_;
};

}  // namespace tevanto::phone
