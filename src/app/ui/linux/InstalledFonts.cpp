#include "app/ui/linux/InstalledFonts.h"

#include <fontconfig/fontconfig.h>

#include <memory>

namespace tevanto {
namespace {

struct Release {
  void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
};
using Pattern = std::unique_ptr<FcPattern, Release>;

std::string familyFor(const char* wanted) {
  const Pattern pattern(FcNameParse(reinterpret_cast<const FcChar8*>(wanted)));
  FcConfigSubstitute(nullptr, pattern.get(), FcMatchPattern);
  FcDefaultSubstitute(pattern.get());
  FcResult result = FcResultNoMatch;
  const Pattern match(FcFontMatch(nullptr, pattern.get(), &result));
  FcChar8* family = nullptr;
  if (!match || FcPatternGetString(match.get(), FC_FAMILY, 0, &family) != FcResultMatch) return {};
  return reinterpret_cast<const char*>(family);
}

}  // namespace

std::string describeInstalledFonts() {
  if (!FcInit()) return {};
  const auto* fonts = FcConfigGetFonts(nullptr, FcSetSystem);
  if (!fonts || fonts->nfont == 0) return {};
  return std::to_string(fonts->nfont) + " fonts; texts in " + familyFor("sans-serif") + ", the code in " +
         familyFor("monospace");
}

}  // namespace tevanto
