#pragma once

#include <string>

namespace tevanto {

class DeploymentSettings;

/// Where the panel's links and the guide's QR code lead: for the person who deploys the program to say. What
/// is not deployed leads to names under ".example", which are reserved (RFC 2606) and belong to nobody.
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
