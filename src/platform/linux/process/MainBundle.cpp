#include "platform/linux/process/MainBundle.h"

#include <system_error>

#include "platform/linux/process/ProgramFolder.h"

namespace tevanto {

InfoPlist mainBundleInfo(const Logger& log) {
  const auto file = installationFolder() / "share" / "tevanto" / "Info.plist";
  std::error_code error;
  if (!std::filesystem::exists(file, error)) return {};
  auto info = InfoPlist::load(file);
  if (info) return std::move(info).value();
  log.warning(info.error());
  return {};
}

}  // namespace tevanto
