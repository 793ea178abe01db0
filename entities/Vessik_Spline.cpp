#include "entities/Vessik_Spline.h"

#include "geometry/Vessik_ArcGeo.h"
#include "geometry/Vessik_LineGeo.h"
#include "geometry/Vessik_Math.h"
#include "parser/ParseLimits.h"
#include "parser/Vessik_CommonData.h"
#include "parser/Vessik_Convert.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Utils.h"

namespace vessik {

namespace {

// A list as an array from index 0; an empty list can not be sized (0 to -1).
template <class T>
std::vector<T> ListToArray(const Vessik_Collection<T>& list) {
  if (list.Count() == 0) RaisePlatformError(errnum::SubscriptOutOfRange);
  std::vector<T> array;
  array.reserve(static_cast<size_t>(list.Count()));
  for (const T& item : list) array.push_back(item);
  return array;
}

}  // namespace

int32_t Vessik_Spline::Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) {
  knotList_ = Vessik_Collection<double>();
  weightList_ = Vessik_Collection<double>();
  cPointList_ = Vessik_Collection<Vessik_Point>();
  // The coordinates keep their values between groups: a point without its own
  // group 10 or 20 repeats the previous value, and only group 30 completes one.
  double X = 0;
  double Y = 0;
  double Z = 0;
  int32_t last = ReadGroups(StartLine, [&](int32_t code, std::string_view value) {
    if (ReadSharedGroup(code, value, Layers)) return;
    switch (code) {
      case 10:
        X = ParseDouble(value);
        break;
      case 20:
        Y = ParseDouble(value);
        break;
      case 30:
        Z = ParseDouble(value);
        cPointList_.Add(Vessik_Point(X, Y, Z));
        break;
      case 40:
        knotList_.Add(ParseDouble(value));
        break;
      case 41:
        weightList_.Add(ParseDouble(value));
        break;
      case 70:
        Flag = TextToLong(value);
        break;
      case 71:
        Degree = TextToLong(value);
        break;
      case 73:
        CPtsNum = TextToLong(value);
        break;
      default:
        break;
    }
  });
  // Without weights the curve is non-rational; too few weights stay as they are.
  if (weightList_.Count() == 0) {
    for (int32_t i = 1; i <= cPointList_.Count(); ++i) weightList_.Add(1.0);
  }
  knots_ = ListToArray(knotList_);
  weights_ = ListToArray(weightList_);
  cPoints_ = ListToArray(cPointList_);
  return last;
}

void Vessik_Spline::Vessik_IEntity_Init(Vessik_CommonData* Data) {
  if (Data == nullptr) RaisePlatformError(errnum::ObjectNotSet);
  Spline2Arcs(Data->Tolerance, RoundToLong(Data->InitialSegments), Data->Check);
}

void Vessik_Spline::Spline2Arcs(double Tolerance, int32_t InitialSegments, int32_t Check) {
  tolerance_ = Tolerance;
  fitTolerance_ = Tolerance * 0.03;
  initialSegments_ = InitialSegments;
  if (initialSegments_ == 0) initialSegments_ = 2;
  nurbs_ = std::make_unique<Vessik_Nurbs>();
  nurbs_->Init(Degree, knots_, weights_, cPoints_);
  nurbs_->CheckParameters(Tolerance, Check);
  biArcs_ = Vessik_Collection<BiArcList>();
  nodes_ = Vessik_Collection<NodeList>();
  FitSections(biArcs_, nodes_);
  geos_ = Biarcs2Geos(biArcs_);
  // The evaluator's work arrays grow with the square of the degree, and the
  // drawing does not evaluate the curve after its fit: they go now, not with it.
  nurbs_->FreeWorkArrays();
}

void Vessik_Spline::AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) {
  for (const Vessik_Geo& g : geos_) {
    g.AppendText(Text, Layers);
    PumpMessages();
    PollCancel();
  }
}

void Vessik_Spline::DropInitWork() {
  knotList_ = Vessik_Collection<double>();
  weightList_ = Vessik_Collection<double>();
  cPointList_ = Vessik_Collection<Vessik_Point>();
  std::vector<double>().swap(knots_);
  std::vector<double>().swap(weights_);
  std::vector<Vessik_Point>().swap(cPoints_);
  nurbs_.reset();
  biArcs_ = Vessik_Collection<BiArcList>();
  nodes_ = Vessik_Collection<NodeList>();
}

void Vessik_Spline::Vessik_IEntity_Release() {
  for (BiArcList& section : biArcs_) {
    for (Vessik_BiArc& B : section) B.Release();
  }
  for (const Vessik_Geo& g : geos_) g.Release();
  parent_ = nullptr;
}

}  // namespace vessik
