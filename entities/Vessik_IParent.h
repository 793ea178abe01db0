#pragma once

namespace vessik {

// Everything a point is placed with by one reference, read in one call.
struct Vessik_Placement {
  double X, Y, Z;
  double XScale, YScale, ZScale;
  double XBlock, YBlock, ZBlock;
  double Cos, Sin;  // of the rotation
};

// What a block reference offers to the entities inside it: its placement and the
// next reference further out (null at the top of the chain).
class Vessik_IParent {
 public:
  virtual ~Vessik_IParent() = default;
  virtual Vessik_IParent* Parent() const = 0;
  virtual void Parent(Vessik_IParent* value) = 0;
  virtual double X() const = 0;
  virtual void X(double value) = 0;
  virtual double Y() const = 0;
  virtual void Y(double value) = 0;
  virtual double Z() const = 0;
  virtual void Z(double value) = 0;
  virtual double XScale() const = 0;
  virtual void XScale(double value) = 0;
  virtual double YScale() const = 0;
  virtual void YScale(double value) = 0;
  virtual double ZScale() const = 0;
  virtual void ZScale(double value) = 0;
  // Degrees, as in the file.
  virtual double Rotation() const = 0;
  virtual void Rotation(double value) = 0;
  // All of the placement at once, for the many points placed through it.
  virtual const Vessik_Placement& Placement() const = 0;
  virtual double XBlock() const = 0;
  virtual void XBlock(double value) = 0;
  virtual double YBlock() const = 0;
  virtual void YBlock(double value) = 0;
  virtual double ZBlock() const = 0;
  virtual void ZBlock(double value) = 0;
};

}  // namespace vessik
