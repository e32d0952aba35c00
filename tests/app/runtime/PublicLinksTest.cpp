#include "app/runtime/PublicLinks.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/fakes/DeploymentSources.h"

namespace tevanto {
namespace {

using test::DeploymentSources;

struct Link {
  const char* info;
  const char* defaults;
  const char* environment;
  std::string PublicLinks::*member;
  std::string value;
  std::string shown;
};

class EachLink : public ::testing::TestWithParam<Link> {};

TEST_P(EachLink, comesFromInfoThenDefaultsThenEnvironment) {
  const auto& [info, defaults, environment, member, value, shown] = GetParam();
  const auto none = PublicLinks{}.*member;
  DeploymentSources sources;
  EXPECT_EQ(PublicLinks::of(sources.settings()).*member, none);
  sources.environment[environment] = value;
  EXPECT_EQ(PublicLinks::of(sources.settings()).*member, shown);
  ASSERT_TRUE(sources.defaults.set(defaults, value + "2").ok());
  EXPECT_EQ(PublicLinks::of(sources.settings()).*member, shown + "2");
  sources.info = std::string("<key>") + info + "</key><string> " + value + "3 </string>";
  EXPECT_EQ(PublicLinks::of(sources.settings()).*member, shown + "3");
}

TEST_P(EachLink, isNotTakenWhenItIsOfAnotherKind) {
  const auto& link = GetParam();
  const auto none = PublicLinks{}.*link.member;
  DeploymentSources sources;
  for (const auto* wrong : {"", "  ", "javascript:alert(1)", "file:///etc/passwd", "https://", "a b@c.d",
                            "@c.d", "a@", "https://a b", "mailto:a@b"}) {
    sources.environment[link.environment] = wrong;
    EXPECT_EQ(PublicLinks::of(sources.settings()).*link.member, none) << wrong;
  }
}

TEST_P(EachLink, leadsToNobodyWhenItIsNotDeployed) {
  EXPECT_NE((PublicLinks{}.*GetParam().member).find("tevanto.example"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    PublicLinks, EachLink,
    ::testing::Values(Link{"TevantoWebsiteURL", "tevanto.links.website", "TEVANTO_WEBSITE_URL",
                           &PublicLinks::website, "https://a.test", "https://a.test"},
                      Link{"TevantoSupportMail", "tevanto.links.supportMail", "TEVANTO_SUPPORT_MAIL",
                           &PublicLinks::support, "help@a.test", "mailto:help@a.test"},
                      Link{"TevantoPrivacyURL", "tevanto.links.privacy", "TEVANTO_PRIVACY_URL",
                           &PublicLinks::privacy, "https://a.test/p", "https://a.test/p"},
                      Link{"TevantoTermsURL", "tevanto.links.terms", "TEVANTO_TERMS_URL", &PublicLinks::terms,
                           "http://a.test/t", "http://a.test/t"},
                      Link{"TevantoAppStoreURL", "tevanto.links.appStore", "TEVANTO_APP_STORE_URL",
                           &PublicLinks::appStore, "https://a.test/app", "https://a.test/app"}));

}  // namespace
}  // namespace tevanto
