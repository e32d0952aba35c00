#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "p2p/cloud/CloudKitAnswers.h"
#include "p2p/ice/RemoteIceServerConfig.h"
#include "p2p/signaling/SignalMessage.h"
#include "remote/invites/CloudPairingInvite.h"

namespace {

constexpr const char* kName = "n";

/// What a record says is written and read again as the same.
void expectSameAgain(const tevanto::CloudRecord& record) {
  const auto body = tevanto::cloudSaveBody(record);
  const auto start = body.find("{\"recordName\"");
  const auto answer = "{\"records\":[" + body.substr(start, body.size() - start - 3) + "]}";
  const auto again = tevanto::readLookupAnswer({200, {}, answer}, kName);
  if (!again.value || again.value->payload != record.payload || again.value->created != record.created)
    std::abort();
}

}  // namespace

/// The first byte chooses the status. Whatever a service answers is a record, an error or an account's
/// status.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  constexpr int kStatuses[] = {200, 400, 401, 404, 429, 503};
  const tevanto::HttpResponse answer{kStatuses[data[0] % std::size(kStatuses)],
                                     {{"Retry-After", "3"}},
                                     {reinterpret_cast<const char*>(data + 1), size - 1}};
  const auto outcome = tevanto::readLookupAnswer(answer, kName);
  if (outcome.value) {
    expectSameAgain(*outcome.value);
    (void)tevanto::decodeSignalMessage(outcome.value->payload);
    (void)tevanto::decodeIceServers(outcome.value->payload);
    (void)tevanto::decodePairingInvite(outcome.value->payload);
  } else if (outcome.error.code == 0) {
    std::abort();
  }
  const auto saved = tevanto::readSaveAnswer(answer, kName);
  if (saved && tevanto::summary(*saved).empty()) std::abort();
  const auto removed = tevanto::readRemoveAnswer(answer, kName);
  if (removed && !saved) std::abort();
  (void)tevanto::readAccountAnswer(answer);
  return 0;
}
