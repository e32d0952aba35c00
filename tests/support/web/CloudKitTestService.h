#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "core/queue/WallClock.h"
#include "tests/support/web/TestHttpServer.h"

namespace tevanto::test {

/// Answers like CloudKit Web Services for one container: checks each request's signature with a public key of
/// its own, keeps records in memory, and fails on request. Any thread may call.
class CloudKitTestService {
 public:
  static constexpr const char* kContainer = "iCloud.org.example.tevanto";
  static constexpr const char* kKeyID = "0123456789abcdef";

  struct KeyPair;

  /// What a request asked for, once its signature was found good.
  struct Operation {
    std::string path;  // below "public/"
    std::string body;
  };

  explicit CloudKitTestService(WallClock now = std::chrono::system_clock::now);
  ~CloudKitTestService();

  TestHttpReply answer(const TestHttpRequest& request);

  /// The private key that belongs to the one that is checked, in PEM.
  const std::string& privateKeyPem() const { return privateKeyPem_; }
  /// A private key of the algorithm and the group ("EC" with "P-256", "P-384"; "RSA"), with a pass phrase
  /// where one is given.
  static std::string makePrivateKeyPem(const std::string& algorithm, const std::string& group = {},
                                       const std::string& passPhrase = {});

  /// Instead of the next good request's answer; may be called several times.
  void willAnswer(TestHttpReply reply);
  /// The next request fails as a whole, as the service words it; `extra` are further members.
  void willFail(int status, const std::string& errorCode, const std::string& extra = {});
  /// The next request fails for its record alone.
  void willFailForTheRecord(const std::string& recordName, const std::string& errorCode,
                            const std::string& extra = {});

  std::vector<Operation> operations() const;
  int refusedCount() const;
  /// The fields of a stored record as JSON text; empty when there is none.
  std::string stored(const std::string& recordName) const;

 private:
  bool isGenuine(const TestHttpRequest& request) const;
  TestHttpReply perform(const Operation& operation);

  const WallClock now_;
  std::unique_ptr<KeyPair> key_;
  std::string privateKeyPem_;
  mutable std::mutex mutex_;  // guards what follows
  struct Stored {
    std::string fields;
    std::int64_t created = 0;  // milliseconds since 1970
  };
  std::map<std::string, Stored> records_;
  std::deque<TestHttpReply> script_;
  std::vector<Operation> operations_;
  int refused_ = 0;
};

}  // namespace tevanto::test
