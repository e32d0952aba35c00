#pragma once

#include <Since.h>

typedef double CGFloat SINCE(10.0, "CGFloat");
typedef struct CGPoint {
  CGFloat x;
  CGFloat y;
} CGPoint SINCE(10.0, "CGPoint");
typedef struct CGSize {
  CGFloat width;
  CGFloat height;
} CGSize SINCE(10.0, "CGSize");
typedef struct CGRect {
  CGPoint origin;
  CGSize size;
} CGRect SINCE(10.0, "CGRect");

CGPoint CGPointMake(CGFloat x, CGFloat y) SINCE(10.0, "CGPointMake");
CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height) SINCE(10.0, "CGRectMake");
