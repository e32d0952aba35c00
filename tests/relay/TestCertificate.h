#pragma once

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

namespace tevanto::relay::test {

/// Writes a self-signed certificate for `name` and its key (P-256) as PEM files.
inline void writeCertificate(const std::string& name, const std::filesystem::path& certificateFile,
                             const std::filesystem::path& keyFile) {
  const auto must = [](bool succeeded) {
    if (!succeeded) throw std::runtime_error("cannot make a certificate");
  };
  const std::unique_ptr<EVP_PKEY, decltype(&::EVP_PKEY_free)> key(::EVP_EC_gen("P-256"), ::EVP_PKEY_free);
  const std::unique_ptr<X509, decltype(&::X509_free)> certificate(::X509_new(), ::X509_free);
  must(key && certificate);
  ::X509_set_version(certificate.get(), 2);
  ::ASN1_INTEGER_set(::X509_get_serialNumber(certificate.get()), 1);
  ::X509_gmtime_adj(::X509_getm_notBefore(certificate.get()), -60);
  ::X509_gmtime_adj(::X509_getm_notAfter(certificate.get()), 3600);
  ::X509_set_pubkey(certificate.get(), key.get());
  auto* subject = ::X509_get_subject_name(certificate.get());
  must(::X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8,
                                    reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0) == 1);
  ::X509_set_issuer_name(certificate.get(), subject);
  must(::X509_sign(certificate.get(), key.get(), ::EVP_sha256()) > 0);

  using File = std::unique_ptr<std::FILE, decltype(&std::fclose)>;
  const File certificateOut(std::fopen(certificateFile.c_str(), "w"), std::fclose);
  const File keyOut(std::fopen(keyFile.c_str(), "w"), std::fclose);
  must(certificateOut && keyOut);
  must(::PEM_write_X509(certificateOut.get(), certificate.get()) == 1);
  must(::PEM_write_PrivateKey(keyOut.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1);
}

}  // namespace tevanto::relay::test
