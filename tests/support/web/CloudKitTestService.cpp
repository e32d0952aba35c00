#include "tests/support/web/CloudKitTestService.h"

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <boost/json.hpp>
#include <cstring>
#include <ctime>
#include <optional>
#include <stdexcept>

#include "core/text/Base64.h"

namespace tevanto::test {
namespace {

namespace json = boost::json;
using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

constexpr std::chrono::minutes kTolerance{10};

Key generate(const std::string& algorithm, const std::string& group) {
  EVP_PKEY* key = algorithm == "EC" ? EVP_EC_gen(group.c_str()) : EVP_RSA_gen(2048);
  if (!key) throw std::runtime_error("no key of this kind: " + algorithm + " " + group);
  return {key, &EVP_PKEY_free};
}

std::string pem(EVP_PKEY* key, const std::string& passPhrase) {
  const std::unique_ptr<BIO, decltype(&BIO_free)> out(BIO_new(BIO_s_mem()), &BIO_free);
  const auto* secret = reinterpret_cast<const unsigned char*>(passPhrase.data());
  const int written = PEM_write_bio_PrivateKey(
      out.get(), key, passPhrase.empty() ? nullptr : EVP_aes_256_cbc(), passPhrase.empty() ? nullptr : secret,
      static_cast<int>(passPhrase.size()), nullptr, nullptr);
  if (written != 1) throw std::runtime_error("cannot write a key");
  char* text = nullptr;
  const auto length = BIO_get_mem_data(out.get(), &text);
  return {text, static_cast<std::size_t>(length)};
}

std::string sha256Base64(const std::string& text) {
  std::vector<std::byte> digest(32);
  unsigned length = 0;
  EVP_Digest(text.data(), text.size(), reinterpret_cast<unsigned char*>(digest.data()), &length, EVP_sha256(),
             nullptr);
  return base64(digest);
}

bool verifies(EVP_PKEY* key, const std::string& message, const std::vector<std::byte>& signature) {
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
  return EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr, key) == 1 &&
         EVP_DigestVerify(context.get(), reinterpret_cast<const unsigned char*>(signature.data()),
                          signature.size(), reinterpret_cast<const unsigned char*>(message.data()),
                          message.size()) == 1;
}

std::optional<std::chrono::system_clock::time_point> parseDate(const std::string& text) {
  std::tm utc{};
  const char* end = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%SZ", &utc);
  if (!end || *end != '\0') return std::nullopt;
  return std::chrono::system_clock::from_time_t(timegm(&utc));
}

std::string root() {
  return std::string("/database/1/") + CloudKitTestService::kContainer + "/development/public/";
}

std::string errorText(const std::string& errorCode, const std::string& extra) {
  return R"("serverErrorCode":")" + errorCode + R"(","reason":"on request")" +
         (extra.empty() ? "" : "," + extra);
}

TestHttpReply failure(int status, const std::string& errorCode, const std::string& extra = {}) {
  return {.status = status,
          .headers = {{"Content-Type", "application/json"}},
          .body = R"({"uuid":"6bdd9a2d-95a5-4a5b-8d5e-a86c2a2b1c35",)" + errorText(errorCode, extra) + "}"};
}

TestHttpReply success(const json::value& body) {
  return {.status = 200, .headers = {{"Content-Type", "application/json"}}, .body = json::serialize(body)};
}

json::object missing(const std::string& name) {
  return {{"recordName", name}, {"reason", "Record not found"}, {"serverErrorCode", "NOT_FOUND"}};
}

}  // namespace

struct CloudKitTestService::KeyPair {
  Key key;
};

CloudKitTestService::CloudKitTestService(WallClock now)
    : now_(std::move(now)),
      key_(std::make_unique<KeyPair>(KeyPair{generate("EC", "P-256")})),
      privateKeyPem_(pem(key_->key.get(), {})) {}

CloudKitTestService::~CloudKitTestService() = default;

std::string CloudKitTestService::makePrivateKeyPem(const std::string& algorithm, const std::string& group,
                                                   const std::string& passPhrase) {
  return pem(generate(algorithm, group).get(), passPhrase);
}

bool CloudKitTestService::isGenuine(const TestHttpRequest& request) const {
  const auto date = request.header("X-Apple-CloudKit-Request-ISO8601Date");
  const auto sent = parseDate(date);
  const auto signature = fromBase64(request.header("X-Apple-CloudKit-Request-SignatureV1"));
  if (!sent || !signature || request.header("X-Apple-CloudKit-Request-KeyID") != kKeyID) return false;
  const auto skew = *sent > now_() ? *sent - now_() : now_() - *sent;
  return skew < kTolerance &&
         verifies(key_->key.get(), date + ":" + sha256Base64(request.body) + ":" + request.target,
                  *signature);
}

TestHttpReply CloudKitTestService::answer(const TestHttpRequest& request) {
  const std::lock_guard lock(mutex_);
  if (!isGenuine(request)) {
    ++refused_;
    return failure(401, "AUTHENTICATION_FAILED");
  }
  if (!request.target.starts_with(root())) return failure(400, "BAD_REQUEST");
  operations_.push_back({request.target.substr(root().size()), request.body});
  if (!script_.empty()) {
    auto reply = std::move(script_.front());
    script_.pop_front();
    return reply;
  }
  if (request.method != (request.body.empty() ? "GET" : "POST")) return failure(400, "BAD_REQUEST");
  return perform(operations_.back());
}

TestHttpReply CloudKitTestService::perform(const Operation& operation) {
  if (operation.path == "users/caller") return success(json::object{{"userRecordName", "_1234"}});
  const auto body = json::parse(operation.body).as_object();
  if (operation.path == "records/lookup") {
    const std::string name(body.at("records").at(0).at("recordName").as_string());
    const auto found = records_.find(name);
    if (found == records_.end()) return success(json::object{{"records", json::array{missing(name)}}});
    json::object record{
        {"recordName", name},
        {"recordType", "TevantoSignal"},
        {"fields", json::parse(found->second.fields)},
        {"recordChangeTag", "k1"},
        {"created", json::object{{"timestamp", found->second.created}, {"userRecordName", "_1234"}}}};
    return success(json::object{{"records", json::array{std::move(record)}}});
  }
  if (operation.path != "records/modify") return failure(404, "NOT_FOUND");
  const auto& change = body.at("operations").at(0).as_object();
  const auto& record = change.at("record").as_object();
  const std::string name(record.at("recordName").as_string());
  if (change.at("operationType") == "forceDelete") {
    if (records_.erase(name) == 0) return success(json::object{{"records", json::array{missing(name)}}});
    return success(
        json::object{{"records", json::array{json::object{{"recordName", name}, {"deleted", true}}}}});
  }
  if (change.at("operationType") != "forceReplace" || record.at("recordType") != "TevantoSignal")
    return failure(400, "BAD_REQUEST");
  auto& stored = records_[name];
  stored.fields = json::serialize(record.at("fields"));
  if (stored.created == 0)
    stored.created = std::chrono::duration_cast<std::chrono::milliseconds>(now_().time_since_epoch()).count();
  return success(json::object{{"records", json::array{record}}});
}

void CloudKitTestService::willAnswer(TestHttpReply reply) {
  const std::lock_guard lock(mutex_);
  script_.push_back(std::move(reply));
}

void CloudKitTestService::willFail(int status, const std::string& errorCode, const std::string& extra) {
  willAnswer(failure(status, errorCode, extra));
}

void CloudKitTestService::willFailForTheRecord(const std::string& recordName, const std::string& errorCode,
                                               const std::string& extra) {
  willAnswer({.status = 200,
              .headers = {{"Content-Type", "application/json"}},
              .body = R"({"records":[{"recordName":")" + recordName + R"(",)" + errorText(errorCode, extra) +
                      "}]}"});
}

std::vector<CloudKitTestService::Operation> CloudKitTestService::operations() const {
  const std::lock_guard lock(mutex_);
  return operations_;
}

int CloudKitTestService::refusedCount() const {
  const std::lock_guard lock(mutex_);
  return refused_;
}

std::string CloudKitTestService::stored(const std::string& recordName) const {
  const std::lock_guard lock(mutex_);
  const auto found = records_.find(recordName);
  return found == records_.end() ? std::string() : found->second.fields;
}

}  // namespace tevanto::test
