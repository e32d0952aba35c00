#include "tests/support/web/TestAuthority.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <atomic>
#include <stdexcept>

namespace tevanto::test {
namespace {

struct Free {
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  void operator()(X509* certificate) const { X509_free(certificate); }
  void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
  void operator()(BIO* memory) const { BIO_free(memory); }
};
template <class T>
using Owned = std::unique_ptr<T, Free>;

template <class T>
T* checked(T* made) {
  if (!made) throw std::runtime_error("OpenSSL refused to make a test certificate");
  return made;
}

Owned<EVP_PKEY> newKey() { return Owned<EVP_PKEY>(checked(EVP_EC_gen("P-256"))); }

std::string textOf(BIO* memory) {
  char* data = nullptr;
  const long size = BIO_get_mem_data(memory, &data);
  return {data, static_cast<std::size_t>(size)};
}

std::string pemOf(X509* certificate) {
  const Owned<BIO> memory(checked(BIO_new(BIO_s_mem())));
  PEM_write_bio_X509(memory.get(), certificate);
  return textOf(memory.get());
}

std::string pemOf(EVP_PKEY* key) {
  const Owned<BIO> memory(checked(BIO_new(BIO_s_mem())));
  PEM_write_bio_PrivateKey(memory.get(), key, nullptr, nullptr, 0, nullptr, nullptr);
  return textOf(memory.get());
}

void extend(X509* certificate, int kind, const std::string& value) {
  const Owned<X509_EXTENSION> extension(checked(X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str())));
  X509_add_ext(certificate, extension.get(), -1);
}

/// Two authorities of one name would be taken for the same.
std::string newAuthorityName() {
  static std::atomic<int> count = 0;
  return "Test authority " + std::to_string(++count);
}

Owned<X509> newCertificate(EVP_PKEY* key, const std::string& name, TestAuthority::Validity validity) {
  static std::atomic<long> serial = 1;
  Owned<X509> certificate(checked(X509_new()));
  X509_set_version(certificate.get(), X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial++);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), validity.from.count());
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), validity.until.count());
  X509_set_pubkey(certificate.get(), key);
  X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
  return certificate;
}

void addNames(X509* certificate, const std::vector<std::string>& names) {
  std::string list;
  for (const auto& name : names) list += (list.empty() ? "" : ",") + name;
  extend(certificate, NID_subject_alt_name, list);
}

void sign(X509* certificate, X509* issuer, EVP_PKEY* key) {
  X509_set_issuer_name(certificate, X509_get_subject_name(issuer));
  if (X509_sign(certificate, key, EVP_sha256()) == 0)
    throw std::runtime_error("a test certificate cannot be signed");
}

}  // namespace

struct TestAuthority::Parts {
  Owned<EVP_PKEY> key = newKey();
  Owned<X509> certificate = newCertificate(key.get(), newAuthorityName(), Validity());
  std::string pem;
};

TestAuthority::TestAuthority() : parts_(std::make_unique<Parts>()) {
  extend(parts_->certificate.get(), NID_basic_constraints, "critical,CA:TRUE");
  extend(parts_->certificate.get(), NID_key_usage, "critical,keyCertSign");
  sign(parts_->certificate.get(), parts_->certificate.get(), parts_->key.get());
  parts_->pem = pemOf(parts_->certificate.get());
}

TestAuthority::~TestAuthority() = default;

const std::string& TestAuthority::certificatePem() const { return parts_->pem; }

TestIdentity TestAuthority::issue(const std::vector<std::string>& names, Validity validity) const {
  const auto key = newKey();
  const auto certificate = newCertificate(key.get(), "Test server", validity);
  addNames(certificate.get(), names);
  sign(certificate.get(), parts_->certificate.get(), parts_->key.get());
  return {.certificatePem = pemOf(certificate.get()), .keyPem = pemOf(key.get())};
}

TestIdentity TestAuthority::selfSigned(const std::vector<std::string>& names) {
  const auto key = newKey();
  const auto certificate = newCertificate(key.get(), "Test server", Validity());
  addNames(certificate.get(), names);
  sign(certificate.get(), certificate.get(), key.get());
  return {.certificatePem = pemOf(certificate.get()), .keyPem = pemOf(key.get())};
}

}  // namespace tevanto::test
