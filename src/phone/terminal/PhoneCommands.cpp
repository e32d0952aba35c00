#include "phone/terminal/PhoneCommands.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <future>
#include <ostream>
#include <utility>

#include "core/text/Text.h"
#include "phone/commands/CommandParts.h"
#include "phone/connection/AwayRoute.h"
#include "phone/connection/LocalRoute.h"
#include "phone/terminal/StdioBridge.h"
#include "phone/terminal/Touchpad.h"

namespace tevanto::phone {
namespace {

std::string readAll(int descriptor) {
  std::string text;
  std::array<char, 65536> bytes;
  while (true) {
    const auto count = ::read(descriptor, bytes.data(), bytes.size());
    if (count > 0) {
      text.append(bytes.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      return text;
    }
  }
}

/// One line, without its end, read byte by byte so that nothing behind it is taken.
std::string readLine(int descriptor) {
  std::string line;
  char character = 0;
  while (::read(descriptor, &character, 1) == 1 && character != '\n') line += character;
  return line;
}

bool meansYes(const std::string& answer) {
  return answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes" || answer == "YES";
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const auto& word : words) text += (text.empty() ? "" : ", ") + printable(word);
  return text;
}

}  // namespace

PhoneCommands::PhoneCommands(PhoneEnvironment environment, PhoneOutput::Format format,
                             CompanionFinder::Choice choice, AwayChoice away)
    : environment_(std::move(environment)),
      output_(environment_.out, environment_.err, format),
      timeout_(choice.timeout),
      paired_(environment_.defaults),
      finder_(environment_.browser, paired_, std::move(choice)),
      away_(std::move(away)) {}

Answer<Route*> PhoneCommands::route() {
  if (route_) return route_.get();
  if (away_.companion.empty()) {
    route_ = std::make_unique<LocalRoute>(finder_, timeout_);
    return route_.get();
  }
  if (!environment_.away)
    return Trouble{ExitCode::notDone, "This build cannot call companions on other networks."};
  auto away = environment_.away(away_.verbose);
  if (!away) return Trouble{ExitCode::notDone, away.error()};
  route_ = std::make_unique<AwayRoute>(std::move(away).value(),
                                       paired_.named(away_.companion).value_or(away_.companion), timeout_);
  return route_.get();
}

Answer<PhoneSession> PhoneCommands::connect(const Target& target, const GivesUp& givesUp) {
  const auto way = route();
  if (!way) return way.trouble();
  auto channel = (*way)->connect(target, givesUp);
  if (!channel) return channel.trouble();
  return PhoneSession(std::move(*channel), timeout_);
}

Answer<Target> PhoneCommands::find(CompanionFinder::For purpose) {
  const auto way = route();
  return way ? (*way)->find(purpose) : Answer<Target>(way.trouble());
}

ExitCode PhoneCommands::discover() {
  const auto found = finder_.discover();
  if (!found) return output_.trouble(found.trouble());
  output_.services(*found, paired_);
  return found->empty() ? ExitCode::notFound : ExitCode::done;
}

ExitCode PhoneCommands::pair(const std::string& code) {
  const auto target = find(CompanionFinder::For::pairing);
  if (!target) return output_.trouble(target.trouble());
  auto session = connect(*target);
  if (!session) return output_.trouble(session.trouble());
  const auto reply = session->pair(paired_.identity(), code);
  if (!reply) return output_.trouble(reply.trouble());
  if (!reply->token) return output_.trouble({ExitCode::refused, "The companion gave no token."});
  const auto known = target->deviceID.value_or(target->endpoint.text());
  const auto name = reply->hostName.value_or(known);
  const auto id = reply->deviceID.value_or(known);
  if (const auto stored = paired_.remember(id, name, *reply->token, target->endpoint); !stored) {
    return output_.trouble({ExitCode::notDone, "Paired, but the token cannot be kept: " + stored.error()});
  }
  output_.reply(*reply, "Paired with " + printable(name) + ".");
  return ExitCode::done;
}

ExitCode PhoneCommands::hello() {
  const auto greeted = greet();
  if (!greeted) return output_.trouble(greeted.trouble());
  const auto& ready = greeted->ready;
  const auto route = route_->route();
  output_.reply(ready,
                printable(ready.hostName.value_or("The companion")) +
                    " is ready.\nIdentifier:   " + printable(ready.deviceID.value_or("unknown")) +
                    "\nCapabilities: " + joined(ready.capabilities.value_or(std::vector<std::string>())) +
                    (route.empty() ? "" : "\nRoute:        " + route));
  return ExitCode::done;
}

ExitCode PhoneCommands::perform(const std::vector<RemoteCommand>& commands) {
  auto greeted = greet();
  if (!greeted) return output_.trouble(greeted.trouble());
  std::optional<RemoteMessage> last;
  const bool isJson = output_.isJson();
  const auto performed = greeted->session.perform(commands, [&](const RemoteMessage& reply) {
    if (isJson) output_.ack(reply);
    last = reply;
  });
  if (!performed) return output_.trouble(performed.trouble());
  if (!isJson && last) output_.ack(*last);  // a person wants one answer for one command
  return ExitCode::done;
}

ExitCode PhoneCommands::type(const std::string& text) {
  auto typing = command("insertText");
  typing.text = text == "-" ? readAll(environment_.input) : text;
  return perform({typing});
}

ExitCode PhoneCommands::performConfirmed(const std::string& question, bool assumeYes,
                                         const RemoteCommand& given) {
  if (!assumeYes) {
    if (!::isatty(environment_.input)) {
      return output_.trouble({ExitCode::usage, "This asks for confirmation on a terminal; --yes confirms."});
    }
    environment_.err << question << " [y/N] " << std::flush;
    if (!meansYes(readLine(environment_.input))) {
      return output_.trouble({ExitCode::notDone, "Nothing was done."});
    }
  }
  return perform({given});
}

ExitCode PhoneCommands::apps(const std::string& iconFolder) {
  auto greeted = greet();
  if (!greeted) return output_.trouble(greeted.trouble());
  const auto list = greeted->session.ask(command("queryApps"), "appList");
  if (!list) return output_.trouble(list.trouble());
  output_.apps(*list);
  if (iconFolder.empty() || !list->apps) return ExitCode::done;
  const auto written = writeIcons(*list->apps, iconFolder);
  if (!written) return output_.trouble({ExitCode::notDone, written.error()});
  environment_.err << written.value() << " icons written to " << iconFolder << '\n';
  return ExitCode::done;
}

ExitCode PhoneCommands::keepAwake(bool on) {
  auto greeted = greet();
  if (!greeted) return output_.trouble(greeted.trouble());
  auto asked = command("setKeepAwake");
  asked.on = on;
  const auto reply = greeted->session.ask(asked, "powerState");
  if (!reply) return output_.trouble(reply.trouble());
  output_.powerState(*reply);
  return reply->keepAwakeOn == on ? ExitCode::done : output_.trouble(refusal(*reply));
}

ExitCode PhoneCommands::state() {
  auto greeted = greet();
  if (!greeted) return output_.trouble(greeted.trouble());
  const auto system = greeted->session.ask(command("querySystemState"), "systemState");
  if (!system) return output_.trouble(system.trouble());
  output_.systemState(*system);
  const auto power = greeted->session.ask(command("queryKeepAwake"), "powerState");
  if (!power) return output_.trouble(power.trouble());
  output_.powerState(*power);
  return ExitCode::done;
}

ExitCode PhoneCommands::touchpad() {
  if (!::isatty(environment_.input)) {
    return output_.trouble({ExitCode::usage, "The touchpad needs a terminal."});
  }
  auto greeted = greet();
  if (!greeted) return output_.trouble(greeted.trouble());
  const auto done = Touchpad(greeted->session, environment_.input, environment_.output).run();
  return done ? ExitCode::done : output_.trouble(done.trouble());
}

ExitCode PhoneCommands::mirror(MirrorSettings settings) {
  if (!settings.view && settings.out.empty() && settings.snapshot.empty() && !settings.stats) {
    return output_.trouble(
        {ExitCode::usage,
         "Say what to do with the picture: --view, --out FILE, --snapshot FILE or --stats."});
  }
  if (!environment_.media) {
    return output_.trouble({ExitCode::notDone, "Mirroring is not part of this build."});
  }
  const auto way = route();
  if (!way) return output_.trouble(way.trouble());
  // Its libraries are many: they are loaded while the companion is called.
  auto loading = std::async(std::launch::async, environment_.media);
  std::optional<Greeted> control;
  if (settings.view) {
    auto greeted = greet();
    if (!greeted) return output_.trouble(greeted.trouble());
    control.emplace(std::move(*greeted));
  }
  const auto target =
      (*way)->findScreen(settings.screenHost, control ? control->ready.deviceID : std::nullopt);
  if (!target) return output_.trouble(target.trouble());
  auto screen = (*way)->connectScreen(*target);
  if (!screen) return output_.trouble(screen.trouble());
  const auto media = loading.get();
  if (!media) return output_.trouble({ExitCode::notDone, media.error()});
  Mirror mirror(std::move(*screen), *media.value(), output_, std::move(settings), timeout_,
                control ? &control->session : nullptr);
  if ((*way)->comesBack()) {
    mirror.setReturn([&, way = *way](const GivesUp& givesUp) -> Answer<std::unique_ptr<ScreenChannel>> {
      if (control) {
        auto greeted = greet(givesUp);
        if (!greeted) return greeted.trouble();
        *control = std::move(*greeted);
      }
      return way->connectScreen(*target, givesUp);
    });
  }
  // Without a token the companion says no, which is better told than guessed.
  const auto done = mirror.run(tokenFor(*target).value_or(""), ::isatty(environment_.output) != 0);
  return done ? ExitCode::done : output_.trouble(done.trouble());
}

ExitCode PhoneCommands::raw(bool addToken, std::chrono::milliseconds linger) {
  const auto target = find(CompanionFinder::For::command);
  if (!target) return output_.trouble(target.trouble());
  auto session = connect(*target);
  if (!session) return output_.trouble(session.trouble());
  StdioBridge::Options options{linger, addToken ? tokenFor(*target) : std::nullopt};
  const auto done = StdioBridge(*session, output_, environment_.input, std::move(options)).run();
  return done ? ExitCode::done : output_.trouble(done.trouble());
}

Answer<PhoneCommands::Greeted> PhoneCommands::greet(const GivesUp& givesUp) {
  const auto target = find(CompanionFinder::For::command);
  if (!target) return target.trouble();
  auto session = connect(*target, givesUp);
  if (!session) return session.trouble();
  const auto token = tokenFor(*target);
  auto ready = session->hello(paired_.identity(), token);
  if (!ready) return token ? ready.trouble() : strangerTrouble(*target, ready.trouble());
  // Named by the user, met at an address that was not known to be its own: known from now on.
  if (target->deviceID && ready->deviceID == target->deviceID)
    (void)paired_.meet(*target->deviceID, target->endpoint);
  return Greeted{std::move(*session), std::move(*ready)};
}

Trouble PhoneCommands::strangerTrouble(const Target& target, Trouble trouble) const {
  if (trouble.code != ExitCode::refused || !finder_.hasAddress()) return trouble;
  const auto address = target.endpoint.text();
  trouble.message = "Refused: unauthorized. This phone was not paired with the companion at " + address +
                    ": run `tevanto-phone --host " + address +
                    " pair CODE`; the code is shown by `tevanto status` there. If it is one that this phone "
                    "knows by another address, name it too: --companion NAME.";
  return trouble;
}

std::optional<std::string> PhoneCommands::tokenFor(const Target& target) const {
  return target.deviceID ? paired_.token(*target.deviceID) : std::nullopt;
}

}  // namespace tevanto::phone
