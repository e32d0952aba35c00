#include "platform/macos/control/ApplicationIcon.h"

#import <AppKit/AppKit.h>

#include "platform/macos/foundation/CfOwned.h"

namespace tevanto {
namespace {

constexpr std::size_t kBitsPerComponent = 8;

/// 8 bits a component, red first, the premultiplied alpha last.
CfOwned<CGContextRef> bitmapOf(int pixels) {
  const CfOwned<CGColorSpaceRef> colors(CGColorSpaceCreateWithName(kCGColorSpaceSRGB));
  const auto side = static_cast<std::size_t>(pixels);
  constexpr std::size_t kRowBytesOfItsChoice = 0;
  return CfOwned<CGContextRef>(CGBitmapContextCreate(nullptr, side, side, kBitsPerComponent,
                                                     kRowBytesOfItsChoice, colors.get(),
                                                     kCGImageAlphaPremultipliedLast));
}

CfOwned<CGImageRef> drawn(NSImage* icon, int pixels) {
  const auto bitmap = bitmapOf(pixels);
  if (!bitmap) return {};
  CGRect whole = CGRectMake(0, 0, pixels, pixels);
  // The representation that fits best; it belongs to the icon.
  CGImageRef image = [icon CGImageForProposedRect:&whole context:nil hints:nil];
  if (!image) return {};
  CGContextSetInterpolationQuality(bitmap.get(), kCGInterpolationHigh);
  CGContextDrawImage(bitmap.get(), CGRectMake(0, 0, pixels, pixels), image);
  return CfOwned<CGImageRef>(CGBitmapContextCreateImage(bitmap.get()));
}

}  // namespace

std::optional<std::vector<std::byte>> pngOfIcon(NSImage* icon, int pixels) {
  const auto image = drawn(icon, pixels);
  if (!image) return std::nullopt;
  NSBitmapImageRep* representation = [[NSBitmapImageRep alloc] initWithCGImage:image.get()];
  NSData* png = [representation representationUsingType:NSBitmapImageFileTypePNG properties:@{}];
  if (!png) return std::nullopt;
  const auto* bytes = static_cast<const std::byte*>(png.bytes);
  return std::vector<std::byte>(bytes, bytes + png.length);
}

}  // namespace tevanto
