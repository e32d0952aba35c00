#pragma once

#include <string>

namespace tevanto {

class DeploymentSettings;

/// PublicLinks holds the targets of the panel's links and of the guide's QR code, as the deployment sets
/// them. A link that was not deployed leads to a name under ".example", which is reserved (RFC 2606).
///
/// | Info.plist          | user defaults             | environment            |
/// |---------------------|---------------------------|------------------------|
/// | TevantoWebsiteURL   | tevanto.links.website     | TEVANTO_WEBSITE_URL    | http or https
/// | TevantoSupportMail  | tevanto.links.supportMail | TEVANTO_SUPPORT_MAIL   | a mail address
/// | TevantoPrivacyURL   | tevanto.links.privacy     | TEVANTO_PRIVACY_URL    | http or https
/// | TevantoTermsURL     | tevanto.links.terms       | TEVANTO_TERMS_URL      | http or https
/// | TevantoAppStoreURL  | tevanto.links.appStore    | TEVANTO_APP_STORE_URL  | http or https
struct PublicLinks {
  std::string website = "https://tevanto.example";
  std::string support = "mailto:support@tevanto.example";  // as a mail link
  std::string privacy = "https://tevanto.example/privacy";
  std::string terms = "https://tevanto.example/terms";
  std::string appStore = "https://tevanto.example/iphone";  // the store page of the phone's app

  /// A value that is not of its kind counts as not deployed.
  static PublicLinks of(const DeploymentSettings& settings);

  bool operator==(const PublicLinks&) const = default;
};

}  // namespace tevanto
