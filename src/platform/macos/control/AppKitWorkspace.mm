#include "platform/macos/control/AppKitWorkspace.h"

#import <AppKit/AppKit.h>

#include "platform/macos/control/ApplicationIcon.h"
#include "platform/macos/foundation/FoundationText.h"
#include "platform/macos/values/system/ApplicationFolders.h"

namespace tevanto {
namespace {

std::optional<std::string> textIn(NSDictionary* information, NSString* key) {
  id value = information[key];
  return [value isKindOfClass:NSString.class] ? utf8Text(value) : std::nullopt;
}

std::optional<double> creationOf(NSString* path) {
  NSDictionary* attributes = [NSFileManager.defaultManager attributesOfItemAtPath:path error:nil];
  NSDate* created = attributes[NSFileCreationDate];
  if (!created) return std::nullopt;
  return created.timeIntervalSince1970;
}

std::optional<ApplicationBundle> bundleAt(NSString* path, const std::string& name) {
  NSBundle* bundle = [NSBundle bundleWithPath:path];
  const auto location = utf8Text(path);
  if (!bundle || !location) return std::nullopt;
  NSDictionary* information = bundle.infoDictionary;
  return ApplicationBundle{.location = *location,
                           .fileName = applicationFileName(name),
                           .identifier = utf8Text(bundle.bundleIdentifier),
                           .displayName = textIn(information, @"CFBundleDisplayName"),
                           .bundleName = textIn(information, @"CFBundleName"),
                           .created = creationOf(path)};
}

}  // namespace

std::vector<std::string> AppKitWorkspace::applicationFolders() {
  @autoreleasepool {
    return applicationFoldersOf(utf8Text(NSHomeDirectory()).value_or(""));
  }
}

std::vector<ApplicationBundle> AppKitWorkspace::applicationsIn(const std::string& folder) {
  @autoreleasepool {
    NSString* path = foundationText(folder);
    std::vector<ApplicationBundle> found;
    for (NSString* entry in [NSFileManager.defaultManager contentsOfDirectoryAtPath:path error:nil]) {
      const auto name = utf8Text(entry);
      if (!name || !isApplicationName(*name)) continue;
      if (auto bundle = bundleAt([path stringByAppendingPathComponent:entry], *name))
        found.push_back(std::move(*bundle));
    }
    return found;
  }
}

std::optional<std::vector<std::byte>> AppKitWorkspace::iconPng(const ApplicationBundle& application) {
  @autoreleasepool {
    NSImage* icon = [NSWorkspace.sharedWorkspace iconForFile:foundationText(application.location)];
    return icon ? pngOfIcon(icon, kIconPixels) : std::nullopt;
  }
}

std::optional<std::string> AppKitWorkspace::locationOf(std::string_view identifier) {
  @autoreleasepool {
    NSString* wanted = foundationText(identifier);
    return utf8Text([NSWorkspace.sharedWorkspace URLForApplicationWithBundleIdentifier:wanted].path);
  }
}

bool AppKitWorkspace::exists(const std::string& location) {
  @autoreleasepool {
    return [NSFileManager.defaultManager fileExistsAtPath:foundationText(location)];
  }
}

void AppKitWorkspace::open(const std::string& location, Activation activation) {
  @autoreleasepool {
    NSWorkspaceOpenConfiguration* configuration = [NSWorkspaceOpenConfiguration configuration];
    if (activation == Activation::activate) configuration.activates = YES;
    [NSWorkspace.sharedWorkspace openApplicationAtURL:[NSURL fileURLWithPath:foundationText(location)]
                                        configuration:configuration
                                    completionHandler:nil];
  }
}

}  // namespace tevanto
