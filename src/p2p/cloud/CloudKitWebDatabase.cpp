#include "p2p/cloud/CloudKitWebDatabase.h"

#include <utility>

#include "p2p/cloud/CloudKitAnswers.h"

namespace tevanto {
namespace {

constexpr const char* kCaller = "users/caller";
constexpr const char* kLookup = "records/lookup";
constexpr const char* kModify = "records/modify";

std::string withoutSlash(std::string url) {
  while (url.ends_with('/')) url.pop_back();
  return url;
}

std::chrono::seconds timeoutFor(CloudUrgency urgency) {
  return urgency == CloudUrgency::utility ? CloudKitWebDatabase::kUtilityTimeout
                                          : CloudKitWebDatabase::kUserInitiatedTimeout;
}

CloudError networkFailure() { return cloudKitError(CloudKitErrorCode::networkFailure); }

}  // namespace

CloudKitWebDatabase::CloudKitWebDatabase(const DeploymentSettings::CloudKit& settings, CloudKitServerKey key,
                                         Environment environment)
    : origin_(withoutSlash(settings.serviceURL)),
      subpath_("/database/1/" + settings.container + "/" + settings.environment + "/public/"),
      key_(std::move(key)),
      environment_(std::move(environment)) {}

void CloudKitWebDatabase::send(const std::string& operation, std::string body, std::chrono::seconds timeout,
                               Answered answered) {
  const auto subpath = subpath_ + operation;
  auto headers = key_.sign(subpath, body, environment_.now());
  if (!headers) {
    return environment_.queue->async(
        [answered = std::move(answered)] { answered(Failure{"The request cannot be signed."}); });
  }
  HttpRequest request;
  request.method = body.empty() ? "GET" : "POST";
  request.url = origin_ + subpath;
  request.headers = std::move(*headers);
  if (!body.empty()) request.headers.emplace_back("Content-Type", "application/json");
  request.body = std::move(body);
  request.timeout = timeout;
  environment_.http->send(std::move(request), environment_.queue, std::move(answered));
}

void CloudKitWebDatabase::accountStatus(std::function<void(CloudAccountStatus)> done) {
  send(kCaller, {}, kUserInitiatedTimeout, [done = std::move(done)](const Result<HttpResponse>& answer) {
    done(answer ? readAccountAnswer(answer.value()) : CloudAccountStatus::couldNotDetermine);
  });
}

void CloudKitWebDatabase::fetch(const std::string& recordName,
                                std::function<void(CloudOutcome<CloudRecord>)> done) {
  send(kLookup, cloudLookupBody(recordName), kUserInitiatedTimeout,
       [recordName, done = std::move(done)](const Result<HttpResponse>& answer) {
         done(answer ? readLookupAnswer(answer.value(), recordName)
                     : CloudOutcome<CloudRecord>{std::nullopt, networkFailure()});
       });
}

void CloudKitWebDatabase::save(const CloudRecord& record, CloudUrgency urgency,
                               std::function<void(std::optional<CloudError>)> done) {
  enqueueWrite(record.name,
               {cloudSaveBody(record), urgency,
                [name = record.name, done = std::move(done)](const Result<HttpResponse>& answer) {
                  done(answer ? readSaveAnswer(answer.value(), name) : networkFailure());
                }});
}

void CloudKitWebDatabase::remove(const std::string& recordName, CloudUrgency urgency,
                                 std::function<void(std::optional<CloudError>)> done) {
  enqueueWrite(recordName, {cloudRemoveBody(recordName), urgency,
                            [recordName, done = std::move(done)](const Result<HttpResponse>& answer) {
                              done(answer ? readRemoveAnswer(answer.value(), recordName) : networkFailure());
                            }});
}

void CloudKitWebDatabase::enqueueWrite(const std::string& recordName, Write write) {
  environment_.queue->async([self = shared_from_this(), recordName, write = std::move(write)]() mutable {
    auto& waiting = self->writes_[recordName];
    waiting.push_back(std::move(write));
    if (waiting.size() == 1) self->sendNextWrite(recordName);
  });
}

void CloudKitWebDatabase::sendNextWrite(const std::string& recordName) {
  auto& next = writes_[recordName].front();
  send(kModify, std::move(next.body), timeoutFor(next.urgency),
       [self = shared_from_this(), recordName](const Result<HttpResponse>& answer) {
         const auto found = self->writes_.find(recordName);
         const auto answered = std::move(found->second.front().answered);
         found->second.pop_front();
         if (found->second.empty()) {
           self->writes_.erase(found);
         } else {
           self->sendNextWrite(recordName);
         }
         answered(answer);
       });
}

void UnavailableCloudDatabase::accountStatus(std::function<void(CloudAccountStatus)> done) {
  done(CloudAccountStatus::noAccount);
}

void UnavailableCloudDatabase::fetch(const std::string&,
                                     std::function<void(CloudOutcome<CloudRecord>)> done) {
  done({std::nullopt, cloudKitError(CloudKitErrorCode::notAuthenticated)});
}

void UnavailableCloudDatabase::save(const CloudRecord&, CloudUrgency,
                                    std::function<void(std::optional<CloudError>)> done) {
  done(cloudKitError(CloudKitErrorCode::notAuthenticated));
}

void UnavailableCloudDatabase::remove(const std::string&, CloudUrgency,
                                      std::function<void(std::optional<CloudError>)> done) {
  done(cloudKitError(CloudKitErrorCode::notAuthenticated));
}

std::shared_ptr<CloudDatabase> makeCloudDatabase(const DeploymentSettings& settings,
                                                 CloudKitWebDatabase::Environment environment,
                                                 const Logger& log) {
  const auto configured = settings.cloudKit();
  if (!configured) return std::make_shared<UnavailableCloudDatabase>();
  auto key = CloudKitServerKey::load(configured->keyID, configured->keyFile);
  if (!key) {
    log.error("CloudKit key: " + key.error());
    return std::make_shared<UnavailableCloudDatabase>();
  }
  return std::make_shared<CloudKitWebDatabase>(*configured, std::move(key).value(), std::move(environment));
}

}  // namespace tevanto
