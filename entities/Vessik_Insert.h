#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "entities/AheadPrinter.h"
#include "entities/CurvePool.h"
#include "entities/Vessik_IEntity.h"
#include "entities/Vessik_IParent.h"
#include "parser/Vessik_Block.h"
#include "parser/Vessik_Collection.h"

namespace vessik {

class Vessik_Progress;

using Vessik_Entities = Vessik_Collection<std::unique_ptr<Vessik_IEntity>>;

// A block reference, and the shape of the whole drawing: the root of the drawing is
// an unnamed reference at the origin whose content is the ENTITIES section.
class Vessik_Insert : public Vessik_IEntity, public Vessik_IParent {
 public:
  // Deepest nesting of block references that is expanded; deeper fails with 28.
  static constexpr int kMaxNesting = 256;

  Vessik_Insert() = default;
  ~Vessik_Insert() override;

  int32_t Id = 0;
  int32_t Layer = 0;
  std::string Name;
  std::unique_ptr<Vessik_Entities> Entities;

  void Progress(Vessik_Progress* value) { progress_ = value; }

  // For a drawing that is read once and printed once, as Parse2 does: the memory of
  // the pairs walked past at the top level, and of each top-level item once its
  // text is made, goes at once, so that a large drawing never holds all three.
  void OneShot(bool value) { oneShot_ = value; }
  // Room reserved up front for the text. Reserved memory costs nothing until it is
  // written, and regrowing a text of hundreds of megabytes would hold it twice.
  void TextSizeHint(int64_t bytes) { textSizeHint_ = bytes; }
  // For a drawing whose text goes to a sink as it is made, not into one string.
  void StreamTo(TextSink* sink) { sink_ = sink; }
  // Writes the text to the sink given to StreamTo.
  void WriteText(Vessik_Layers& Layers);
  // Whether a cancel dropped the items read.
  bool Dropped() const { return dropped_; }

  // Builds the entities of the pairs StartLine to EndLine, with Parent as their
  // parent, expanding every block reference through its block. Level is the
  // nesting of the references that the new objects stand in (0 at the root);
  // room is made for ExpectedItems at once.
  std::unique_ptr<Vessik_Entities> ReadEntities(int32_t StartLine, int32_t EndLine,
                                                Vessik_IParent* Parent, Vessik_CommonData* Data,
                                                const std::vector<Vessik_Block>& Blocks,
                                                Vessik_Layers& Layers, int Level = 0,
                                                int32_t ExpectedItems = 0);

  // Vessik_IEntity
  Vessik_IParent* Vessik_IEntity_Parent() const override { return parent_; }
  void Vessik_IEntity_Parent(Vessik_IParent* value) override { parent_ = value; }
  int32_t Vessik_IEntity_Color(Vessik_Layers&) override { return 0; }
  std::string Vessik_IEntity_LayerName(Vessik_Layers& Layers) override;
  void Vessik_IEntity_Release() override;
  int32_t Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) override;
  std::string Vessik_IEntity_ToString(Vessik_Layers& Layers) override;
  void AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) override;
  void Vessik_IEntity_Init(Vessik_CommonData*) override {}

  // Vessik_IParent
  Vessik_IParent* Parent() const override { return parent_; }
  void Parent(Vessik_IParent* value) override { parent_ = value; }
  double X() const override { return placement_.X; }
  void X(double v) override { placement_.X = v; }
  double Y() const override { return placement_.Y; }
  void Y(double v) override { placement_.Y = v; }
  double Z() const override { return placement_.Z; }
  void Z(double v) override { placement_.Z = v; }
  double XScale() const override { return placement_.XScale; }
  void XScale(double v) override { placement_.XScale = v; }
  double YScale() const override { return placement_.YScale; }
  void YScale(double v) override { placement_.YScale = v; }
  double ZScale() const override { return placement_.ZScale; }
  void ZScale(double v) override { placement_.ZScale = v; }
  double Rotation() const override { return rotation_; }
  void Rotation(double v) override;
  const Vessik_Placement& Placement() const override { return placement_; }
  double XBlock() const override { return placement_.XBlock; }
  void XBlock(double v) override { placement_.XBlock = v; }
  double YBlock() const override { return placement_.YBlock; }
  void YBlock(double v) override { placement_.YBlock = v; }
  double ZBlock() const override { return placement_.ZBlock; }
  void ZBlock(double v) override { placement_.ZBlock = v; }

 private:
  void ExpandBlock(Vessik_CommonData* Data, const std::vector<Vessik_Block>& Blocks,
                   Vessik_Layers& Layers, int Level);
  void ReadItems(Vessik_Entities& result, int32_t StartLine, int32_t EndLine,
                 Vessik_IParent* Parent, Vessik_CommonData* Data,
                 const std::vector<Vessik_Block>& Blocks, Vessik_Layers& Layers, int Level);
  // Hands the items read but not yet handed over to the printing thread.
  void HandOver(Vessik_Entities& items, Vessik_Layers& Layers);
  // After a cancel: stops the printing thread and drops the items read so far.
  void DropRead(Vessik_Entities& result);
  // Builds the item as the reading does (its fit may go to the curve pool).
  void InitItem(Vessik_IEntity& entity, int keyword, Vessik_CommonData* Data);
  // Waits for the fits submitted so far. False after a cancel (the items are then
  // dropped); the first failure of a fit is raised.
  bool SettleCurves(Vessik_Entities& result);
  // At the end of the reading, while fits are still under way: hands over the
  // items behind each batch of fits as it is done, so that printing keeps pace
  // with the fitting instead of starting after the last fit.
  void HandOverWhileFitting(Vessik_Entities& result, Vessik_Layers& Layers);
  // Stops the curve pool, whose fits are all settled.
  void EndCurves();
  // Frees the items printed since the last call; freed counts them.
  void FreePrinted(Vessik_Entities& result, int32_t& freed);
  // Memory the running parse holds, and whether the items waiting for the
  // printing thread took more than limit of it beyond base.
  static int64_t MemoryUsed();
  bool ReadTooFarAhead(int64_t base, int64_t limit);
  // The most the reading keeps ahead of the printing. Small: the drawing's pairs
  // are still held when reading starts, and reading further ahead gains nothing.
  static constexpr int64_t kReadAhead = int64_t{8} << 20;
  // Pairs read between two hand-backs of their memory: 1 MB of the table.
  static constexpr int32_t kReleasePairs = 1 << 17;
  // Pairs read, and given back, before the reading may overlap the printing of
  // what it read ahead: 16 MB of the table and more of the file, well above the
  // read-ahead.
  static constexpr int32_t kPairsBeforeOverlap = 1 << 21;
  // Ends the printing thread and puts its text in front of what follows in Text.
  void TakePrintedText(Vessik_Concat& Text);

  Vessik_IParent* parent_ = nullptr;
  Vessik_Progress* progress_ = nullptr;
  bool oneShot_ = false;
  int64_t textSizeHint_ = 0;
  TextSink* sink_ = nullptr;
  bool dropped_ = false;
  // Set while a drawing read by Parse2 is printed on a second thread.
  std::unique_ptr<AheadPrinter> printer_;
  // Fits the drawing's curves on other threads while it is read by Parse2; and
  // for each item read but not yet handed to the printing thread, the fits that
  // must be done before it is (all those submitted up to its end).
  // (A queue read from fitsHanded_ on: no allocation for the many references
  // that never print on their own.)
  std::unique_ptr<CurvePool> curves_;
  std::vector<int64_t> fitsNeeded_;
  size_t fitsHanded_ = 0;
  double rotation_ = 0;
  // Held as one record, which every point placed through this reference reads;
  // its Cos and Sin are those of rotation_, worked out when it is set.
  Vessik_Placement placement_{0, 0, 0, 1, 1, 1, 0, 0, 0, 1, 0};
};

// The read-ahead of the parses on this thread, in bytes, and the pairs read before
// it may overlap the printing; 0 restores either. For tests.
void SetReadAhead(int64_t bytes, int32_t pairsBeforeOverlap);
// How many times the parses on this thread waited for the printing thread to
// catch up: for all they read ahead, or with overlap for half of it. For tests.
int64_t ReadAheadWaits(bool overlapping);

}  // namespace vessik
