#include "app/runtime/PublicLinks.h"

#include <algorithm>

#include "p2p/ice/DeploymentSettings.h"

namespace tevanto {
namespace {

using Key = DeploymentSettings::Key;

constexpr Key kWebsite{"TevantoWebsiteURL", "tevanto.links.website", "TEVANTO_WEBSITE_URL"};
constexpr Key kSupport{"TevantoSupportMail", "tevanto.links.supportMail", "TEVANTO_SUPPORT_MAIL"};
constexpr Key kPrivacy{"TevantoPrivacyURL", "tevanto.links.privacy", "TEVANTO_PRIVACY_URL"};
constexpr Key kTerms{"TevantoTermsURL", "tevanto.links.terms", "TEVANTO_TERMS_URL"};
constexpr Key kAppStore{"TevantoAppStoreURL", "tevanto.links.appStore", "TEVANTO_APP_STORE_URL"};

bool isPrintable(const std::string& text) {
  return std::none_of(text.begin(), text.end(), [](unsigned char c) { return c <= ' ' || c == 0x7f; });
}

bool isPage(const std::string& text) {
  const auto scheme = text.find("://");
  return isPrintable(text) && (text.starts_with("https://") || text.starts_with("http://")) &&
         text.size() > scheme + 3;
}

bool isMailAddress(const std::string& text) {
  const auto at = text.find('@');
  return isPrintable(text) && at != std::string::npos && at > 0 && at + 1 < text.size() &&
         text.find_first_of(":?@", at + 1) == std::string::npos && text.find(':') == std::string::npos;
}

void readPage(const DeploymentSettings& settings, const Key& key, std::string& link) {
  if (auto found = settings.value(key); found && isPage(*found)) link = std::move(*found);
}

}  // namespace

PublicLinks PublicLinks::of(const DeploymentSettings& settings) {
  PublicLinks links;
  readPage(settings, kWebsite, links.website);
  if (const auto mail = settings.value(kSupport); mail && isMailAddress(*mail))
    links.support = "mailto:" + *mail;
  readPage(settings, kPrivacy, links.privacy);
  readPage(settings, kTerms, links.terms);
  readPage(settings, kAppStore, links.appStore);
  return links;
}

}  // namespace tevanto
