// The true-geometry mode, and why it is a path of its own.
//
// The default text keeps every quirk of the reader that hosts rely on: ellipses
// walked backwards, extrusion ignored on ellipses, lightweight polylines and block
// references, repeated references drawn once, keywords recognised in any value.
// Changing any of that in place would thread a mode flag through every entity
// class. Instead the mode shares only what the two agree on: the loaded group
// pairs, the section, layer and block tables, the layer and colour rules, the
// record format and the failures of reading. From the entity section on it has
// its own reader:
//
//  - it walks pairs from group 0 to group 0, so an entity starts only at a code 0
//    with its keyword, and it reads every ENTITIES section;
//  - each entity's groups go into a plain description (TrueEntities.cpp), placed
//    by one affine map: the object coordinate system of its extrusion, then every
//    enclosing block reference (base point, scale, rotation, insertion point and
//    the reference's own extrusion), composed once;
//  - a repeated reference (groups 70, 71, 44, 45) is expanded into its grid;
//  - the geometry goes to a TrueSink (TrueCurves.cpp), which prints exact arcs
//    where a circle stays a circle in a plane parallel to XY, and otherwise fits
//    arcs and segments checked against the curve on dense samples.
#include "entities/TrueGeometry.h"

#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "entities/TrueCurves.h"
#include "entities/TrueEntities.h"
#include "entities/Vessik_Insert.h"
#include "geometry/Vessik_Math.h"
#include "parser/GroupPairs.h"
#include "parser/NameLookup.h"
#include "parser/ParseLimits.h"
#include "parser/Vessik_Concat.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Parser.h"
#include "parser/Vessik_Utils.h"

namespace vessik {
namespace {

class TrueReader {
 public:
  TrueReader(const std::vector<Vessik_Block>& blocks, Vessik_Layers& layers, Vessik_Concat& text,
             const Vessik_CommonData* data)
      : layers_(layers), sink_(text, data) {
    for (const Vessik_Block& b : blocks) blocks_.try_emplace(b.Name, &b);
  }

  // The entities of the pairs from begin to end, placed by place. At the top level
  // the position is reported as progress from 50 to 100 over the sections.
  void Read(int32_t begin, int32_t end, const Affine& place, int level,
            Vessik_Progress* progress = nullptr, int32_t done = 0, int32_t total = 1) {
    const GroupPairTable& pairs = GroupPairs();
    int32_t lastPercent = -1;
    for (int32_t i = begin; i <= end;) {
      // The host's message loop and its cancel flag, as in the default mode.
      PumpMessages();
      PollCancel();
      if (pairs.Code(i) != 0) {
        ++i;
        continue;
      }
      const std::string_view keyword = pairs.Value(i);
      i = Entity(keyword, i + 1, end, place, level);
      if (progress != nullptr) {
        const int32_t percent = static_cast<int32_t>(static_cast<int64_t>(done + i - begin) * 50 /
                                                     static_cast<int64_t>(total));
        if (percent > lastPercent) {
          progress->DoProgress(50 + percent);
          lastPercent = percent;
        }
      }
    }
  }

 private:
  // Reads the entity whose groups start at first and prints it; returns the index
  // of the next code 0 (or past end).
  int32_t Entity(std::string_view keyword, int32_t first, int32_t end, const Affine& place,
                 int level) {
    TrueEntity entity;
    const int32_t next = ReadTrueEntity(keyword, first, end, layers_, entity);
    if (entity.kind == TrueKind::None) return next;
    if (entity.kind == TrueKind::Insert) {
      Insert(entity, place, level + 1);
      return next;
    }
    // Reading and printing are one step here: a failure of either ends the parse,
    // as a failure of reading or fitting does in the default mode.
    PrintTrueEntity(entity, place, layers_, sink_);
    return next;
  }

  void Insert(const TrueEntity& insert, const Affine& place, int level) {
    const auto found = blocks_.find(insert.name);
    if (found == blocks_.end()) return;
    if (level > Vessik_Insert::kMaxNesting) RaisePlatformError(errnum::OutOfStackSpace);
    const Vessik_Block& block = *found->second;
    ForEachPlacement(insert, {block.X, block.Y, block.Z}, [&](const Affine& copy) {
      Read(block.StartLine, block.EndLine, place * copy, level);
    });
  }

  Vessik_Layers& layers_;
  TrueSink sink_;
  // The first block of each name counts.
  std::unordered_map<std::string_view, const Vessik_Block*> blocks_;
};

}  // namespace

std::string TrueGeometryText(const std::vector<Vessik_Section>& Sections,
                             const std::vector<Vessik_Block>& Blocks, Vessik_Layers& Layers,
                             Vessik_CommonData* Data, Vessik_Progress* Progress) {
  // The same failures as the default mode for a drawing without entities or
  // without settings and progress.
  if (Vessik_Parser::FindSection(Sections, "ENTITIES") < 0)
    RaisePlatformError(errnum::ObjectNotSet);
  if (Progress == nullptr) RaisePlatformError(errnum::ObjectNotSet);
  LayerLookup layerLookup(Layers);
  Vessik_Concat text;
  TrueReader reader(Blocks, Layers, text, Data);
  int32_t total = 0;
  for (const Vessik_Section& s : Sections) {
    if (s.Name == "ENTITIES") total += s.EndLine - s.BeginLine + 1;
  }
  int32_t done = 0;
  for (const Vessik_Section& s : Sections) {
    if (s.Name != "ENTITIES") continue;
    // The section's own SECTION and name pairs are passed over as no entity.
    reader.Read(s.BeginLine + 1, s.EndLine - 1, Affine::Identity(), 0, Progress, done, total);
    done += s.EndLine - s.BeginLine + 1;
  }
  Progress->DoProgress(100);
  return text.TakeValue();
}

}  // namespace vessik
