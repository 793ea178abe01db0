#include "geometry/Vessik_Math.h"

#include <cmath>
#include <string>

#include "entities/Vessik_IParent.h"
#include "parser/NameLookup.h"
#include "parser/Vessik_Convert.h"
#include "parser/Vessik_Error.h"

namespace vessik {

int32_t MakeRGB(int32_t R, int32_t G, int32_t B) {
  // Wrapping arithmetic: the arguments are not masked.
  uint32_t v = (static_cast<uint32_t>(B) * 256u + static_cast<uint32_t>(G)) * 256u +
               static_cast<uint32_t>(R);
  return static_cast<int32_t>(v);
}

int32_t ColorFromACI(int32_t Index) {
  if (Index == INT32_MIN) RaisePlatformError(errnum::Overflow);
  int32_t a = Index < 0 ? -Index : Index;
  switch (a) {
    case 0:
      return 0;
    case 1:
      return MakeRGB(255, 0, 0);
    case 2:
      return MakeRGB(255, 255, 0);
    case 3:
      return MakeRGB(0, 255, 0);
    case 4:
      return MakeRGB(0, 255, 255);
    case 5:
      return MakeRGB(0, 0, 255);
    case 6:
      return MakeRGB(255, 0, 255);
    case 7:
      return MakeRGB(255, 255, 255);
    case 8:
      return MakeRGB(128, 128, 128);
    case 9:
      return MakeRGB(192, 192, 192);
    case 250:
      return MakeRGB(51, 51, 51);
    case 251:
      return MakeRGB(91, 91, 91);
    case 252:
      return MakeRGB(132, 132, 132);
    case 253:
      return MakeRGB(173, 173, 173);
    case 254:
      return MakeRGB(214, 214, 214);
    case 255:
      return MakeRGB(255, 255, 255);
    case 256:
      return -1;
    default:
      break;
  }
  if (a > 256) return 0;
  // Hue and brightness rule of the indices 10 to 249.
  double ad = a;
  double d = a % 10;
  double H = (ad - d - 10) * 1.5;
  double S = (a % 2 == 1) ? 0.5 : 1;
  double V;
  switch (a % 10) {
    case 0:
    case 1:
      V = 1;
      break;
    case 2:
    case 3:
      V = 0.8;
      break;
    case 4:
    case 5:
      V = 0.6;
      break;
    case 6:
    case 7:
      V = 0.5;
      break;
    default:
      V = 0.3;
      break;
  }
  double r, g, b;
  if (H < 120) {
    r = (120 - H) / 60;
    g = H / 60;
    b = 0;
  } else if (H < 240) {
    r = 0;
    g = (240 - H) / 60;
    b = (H - 120) / 60;
  } else {
    r = (H - 240) / 60;
    g = 0;
    b = (360 - H) / 60;
  }
  r = MinOf(r, 1);
  g = MinOf(g, 1);
  b = MinOf(b, 1);
  double m = MaxOf(r, MaxOf(g, b));
  r = (m - (m - r) * S) * V * 255;
  g = (m - (m - g) * S) * V * 255;
  b = (m - (m - b) * S) * V * 255;
  return MakeRGB(RoundToLong(r), RoundToLong(g), RoundToLong(b));
}

int32_t HandleToId(std::string_view Text) {
  return RoundToLong(ReadHexNumber(Text));
}

double ArcSin(double A) {
  if (A == 1) return HalfPi;
  if (A == -1) return ThreeHalfPi;
  return std::atan(A / std::sqrt((-A) * A + 1));
}

double ArcCos(double A) {
  if (A == 1) return 0;
  if (A == -1) return Pi;
  return std::atan(-A / std::sqrt((-A) * A + 1)) + 2 * std::atan(1.0);
}

int32_t RoundToLong(double A) {
  return DoubleToLong(A);
}

int32_t CeilToLong(double A) {
  int32_t i = RoundToLong(A);
  if (A - i > 0) {
    // One above the largest integer does not fit: the same failure as any other
    // integer overflow.
    if (i == INT32_MAX) RaisePlatformError(errnum::Overflow);
    return i + 1;
  }
  return i;
}

double Deg2Rad(double Angle) {
  return Angle / (180 / Pi);
}

double Rad2Deg(double Angle, double Base) {
  return NormDegrees(Angle * 180 / Pi, Base);
}

double NormDegrees(double Angle, double Base) {
  double a = Angle;
  double b = Base;
  if (!(a < b) && b + 360 > a) return a;
  if (a < b + 720 && a > b) return a - 360;
  if (!(a > b) && !(b - 360 > a)) return a + 360;
  double e = a - b;
  if (!(e < 0)) return (e + b) - std::floor(e / 360) * 360;
  return (e + b) - std::floor(e / -360) * (-360) + 360;
}

bool AngleInRange(double Angle, double SA, double EA, double Tol) {
  double a = Angle;
  if (SA - Tol <= a && EA + Tol >= a) return true;
  if (SA > EA) {
    if (EA + Tol >= a && SA + Tol >= a) return true;
    if (EA - Tol <= a && SA - Tol <= a) return true;
  }
  return false;
}

int32_t LayerIndex(Vessik_Layers& Layers, std::string_view Name) {
  if (LayerLookup* lookup = LayerLookup::For(Layers)) {
    if (const int32_t i = lookup->Find(Name); i != LayerLookup::kNone) return i;
  } else {
    for (size_t i = 0; i < Layers.size(); ++i) {
      if (Layers[i]->Name == Name) return static_cast<int32_t>(i);
    }
  }
  auto layer = std::make_shared<Vessik_Layer>();
  layer->Name = std::string(Name);
  Layers.push_back(std::move(layer));
  return static_cast<int32_t>(Layers.size() - 1);
}

double AbsRotation(double Angle, const Vessik_IParent* Parent) {
  for (; Parent != nullptr; Parent = Parent->Parent()) Angle = Parent->Rotation() + Angle;
  return Angle;
}

double AbsXScale(double Value, const Vessik_IParent* Parent) {
  for (; Parent != nullptr; Parent = Parent->Parent()) Value = Parent->XScale() * Value;
  return Value;
}

void AbsScales(const Vessik_IParent* Parent, double& SX, double& SY, double& SZ) {
  SX = 1;
  SY = 1;
  SZ = 1;
  for (; Parent != nullptr; Parent = Parent->Parent()) {
    SX = SX * Parent->XScale();
    SY = SY * Parent->YScale();
    SZ = SZ * Parent->ZScale();
  }
}

}  // namespace vessik
