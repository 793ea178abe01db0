// Free routines of the geometry kernel: constants, trigonometry, angle
// normalisation, the colour rule and the walks up a chain of block references.
#pragma once

#include <cmath>
#include <cstdint>
#include <string_view>

#include "parser/Vessik_Layer.h"

namespace vessik {

class Vessik_IParent;

// Pi to fifteen digits, deliberately not the nearest double to the true number;
// every angle computation of the system uses this value.
constexpr double Pi = 3.14159265358979;
constexpr double TwoPi = 6.28318530717958;
constexpr double HalfPi = 1.570796326794895;
constexpr double ThreeHalfPi = 4.712388980384685;
// Start value of every running maximum.
constexpr double MostNegative = -1.79769313486231E+308;

int32_t ColorFromACI(int32_t Index);
int32_t MakeRGB(int32_t R, int32_t G, int32_t B);
inline double MinOf(double A, double B) {
  return A < B ? A : B;
}
inline double MaxOf(double A, double B) {
  return A > B ? A : B;
}
int32_t HandleToId(std::string_view Text);
// The angle of (X, Y) from the arc tangent of Y / X: from -Pi / 2 up to below
// 3 Pi / 2.
inline double ArcTan2(double X, double Y) {
  if (X == 0) {
    double sign = Y > 0 ? 1 : (Y < 0 ? -1 : 0);
    return sign * Pi / 2;
  }
  if (X > 0) return std::atan(Y / X);
  return std::atan(Y / X) + Pi;
}
double ArcSin(double A);
double ArcCos(double A);
// A less the whole multiples of B below it: the result has the sign of B.
inline double FloatMod(double A, double B) {
  double t = A / B;
  t = t - std::floor(t);
  return t * B;
}
int32_t RoundToLong(double A);
int32_t CeilToLong(double A);
double Rad2Deg(double Angle, double Base);
double Deg2Rad(double Angle);
double NormDegrees(double Angle, double Base);
bool AngleInRange(double Angle, double SA, double EA, double Tol);

// Index of the named layer, appending a new layer when the name is not listed.
int32_t LayerIndex(Vessik_Layers& Layers, std::string_view Name);

// Walks of the chain of block references, from the innermost outwards.
double AbsRotation(double Angle, const Vessik_IParent* Parent);
double AbsXScale(double Value, const Vessik_IParent* Parent);
void AbsScales(const Vessik_IParent* Parent, double& SX, double& SY, double& SZ);

}  // namespace vessik
