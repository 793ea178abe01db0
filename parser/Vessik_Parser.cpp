#include "parser/Vessik_Parser.h"

#include <cstring>
#include <new>
#include <optional>
#include <stdexcept>

#include "entities/EntityArena.h"
#include "entities/TrueGeometry.h"
#include "entities/Vessik_Insert.h"
#include "parser/GroupPairs.h"
#include "parser/NameLookup.h"
#include "parser/ParseLimits.h"
#include "parser/Vessik_Convert.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Hooks.h"
#include "parser/Vessik_Utils.h"

namespace vessik {
namespace {

// Lets go of the pairs and the file's bytes once nothing reads them. A mapped file
// was read from its pages up to here: written to or shortened meanwhile, the text
// would be that of two files that never existed as such.
void ReleasePairs() {
  if (!GroupPairs().FileUnchanged()) RaisePlatformError(errnum::PathFileAccess);
  GroupPairs().Clear();
}

// A coordinate of a block header not read yet: -1.79769313486231E+308, compared by
// its bits.
constexpr uint64_t kBlockUnsetBits = 0xFFEFFFFFFFFFFFE2ull;

double BlockUnset() {
  double d;
  std::memcpy(&d, &kBlockUnsetBits, sizeof d);
  return d;
}

bool IsBlockUnset(double d) {
  uint64_t bits;
  std::memcpy(&bits, &d, sizeof bits);
  return bits == kBlockUnsetBits;
}

}  // namespace

Vessik_Parser::Vessik_Parser() = default;

Vessik_Parser::~Vessik_Parser() {
  root_.reset();
  PumpMessages();
}

void Vessik_Parser::SetLayers(Vessik_Layers& layers) {
  layers_ = layers;
  layers.clear();
}

std::string Vessik_Parser::Parse2(const std::string& TheFile, Vessik_CommonData* Data,
                                  Vessik_Progress* Progress) {
  return Parse(TheFile, Data, Progress, nullptr);
}

bool Vessik_Parser::Parse2To(const std::string& TheFile, Vessik_CommonData* Data,
                             Vessik_Progress* Progress, TextSink& Sink) {
  (void)Parse(TheFile, Data, Progress, &Sink);
  return !canceled_;
}

std::string Vessik_Parser::Parse(const std::string& TheFile, Vessik_CommonData* Data,
                                 Vessik_Progress* Progress, TextSink* Sink) {
  // A parser holds one drawing: started again from its own progress handler, it
  // would pull the layers and the tree from under the parse that is running.
  if (busy_) RaisePlatformError(errnum::InvalidProcedureCall);
  // Another parser may parse from a progress handler of this one on the same
  // thread (a host that pumps its messages can do that). The group pairs are the
  // thread's, so the running parse's pairs are set aside until the inner one ends.
  thread_local int running = 0;
  struct Nesting {
    bool& busy;
    TextSink*& sink;
    std::optional<GroupPairTable> outer;
    Nesting(bool& b, TextSink*& s, TextSink* wanted) : busy(b), sink(s) {
      if (running > 0) {
        outer.emplace(std::move(GroupPairs()));
        GroupPairs().Clear();
      }
      ++running;
      busy = true;
      sink = wanted;
    }
    ~Nesting() {
      busy = false;
      sink = nullptr;
      --running;
      if (outer) GroupPairs() = std::move(*outer);
    }
  } nesting(busy_, sink_, Sink);
  canceled_ = false;
  // The memory kept for entity objects goes back when the parse ends, however.
  struct FreeKept {
    ~FreeKept() { FreeKeptEntityChunks(); }
  } freeKept;
  // What this parse may hold, and the host's cancel flag, for every loop below.
  ParseLimits limits(MemoryBudget(), Progress);
  ParseLimitsScope limitsScope(&limits);
  try {
    return RunStages(TheFile, Data, Progress);
  } catch (const ParseCanceled&) {
    // Stopped inside a stage rather than between two top-level items: the result
    // is the same empty text.
    canceled_ = true;
    root_.reset();
    GroupPairs().Clear();
    return std::string();
  } catch (const TextSinkFailed& f) {
    root_.reset();
    GroupPairs().Clear();
    try {
      std::rethrow_exception(f.failure);
    } catch (const std::bad_alloc&) {
      RaisePlatformError(errnum::OutOfMemory);
    }
  } catch (...) {
    // A drawing too large for the memory at hand ends like any other failure.
    // Whatever else failed, a mapped file that changed under the parse is the
    // cause.
    const bool outOfMemory = InFlightIsOutOfMemory();
    if (!outOfMemory && GroupPairs().FileUnchanged()) throw;
    root_.reset();
    GroupPairs().Clear();
    RaisePlatformError(outOfMemory ? errnum::OutOfMemory : errnum::PathFileAccess);
  }
}

std::string Vessik_Parser::RunStages(const std::string& TheFile, Vessik_CommonData* Data,
                                     Vessik_Progress* Progress) {
  LoadDXF(TheFile);
  std::vector<Vessik_Section> sections = ParseSections();
  Vessik_Layers layers = ParseLayers(sections);
  SetLayers(layers);
  std::vector<Vessik_Block> blocks = ParseBlocks(sections);
  root_.reset();
  if (TrueGeometry()) {
    std::string text = TrueGeometryText(sections, blocks, layers_, Data, Progress);
    ReleasePairs();
    if (sink_ == nullptr) return text;
    sink_->Write(text);
    return std::string();
  }
  oneShot_ = true;
  try {
    root_ = ParseEntities(sections, blocks, layers_, Data, Progress);
  } catch (...) {
    oneShot_ = false;
    throw;
  }
  oneShot_ = false;
  // Nothing reads the pairs after the entities are built: their memory goes now,
  // before the text is made.
  ReleasePairs();
  if (!root_) RaisePlatformError(errnum::ObjectNotSet);
  std::string m;
  if (sink_ != nullptr) {
    root_->WriteText(layers_);
    canceled_ = root_->Dropped();
  } else {
    m = root_->Vessik_IEntity_ToString(layers_);
  }
  root_->Vessik_IEntity_Release();
  // The drawing is freed here rather than at the next parse.
  root_.reset();
  return m;
}

std::vector<Vessik_Section> Vessik_Parser::ParseSections() {
  const GroupPairTable& pairs = GroupPairs();
  std::vector<Vessik_Section> result;
  std::unique_ptr<Vessik_Section> current;
  // Only the pairs whose value is "SECTION" or "ENDSEC" open and close sections,
  // whatever their code; the first pair of code 2 from the opening on names the
  // section. The table knows where the first kind lie, so the pairs in between
  // are only looked at until the open section has its name.
  const std::vector<int32_t>& marks = pairs.SectionMarks();
  const int32_t count = pairs.Count();
  for (size_t m = 0; m < marks.size(); ++m) {
    const int32_t i = marks[m];
    PollCancelWhileLoading();
    std::string_view value = pairs.Value(i);
    if (value == "SECTION") {
      current = std::make_unique<Vessik_Section>();
      current->BeginLine = i;
    }
    if (pairs.Code(i) == 2 && current && current->Name.empty()) current->Name = std::string(value);
    if (value == "ENDSEC" && current) {
      current->EndLine = i;
      result.push_back(std::move(*current));
      current.reset();
    }
    const int32_t next = m + 1 < marks.size() ? marks[m + 1] : count;
    for (int32_t j = i + 1; j < next && current && current->Name.empty(); ++j) {
      if ((j & 0xFFFF) == 0) PollCancelWhileLoading();
      if (pairs.Code(j) == 2) current->Name = std::string(pairs.Value(j));
    }
  }
  return result;
}

int32_t Vessik_Parser::FindSection(const std::vector<Vessik_Section>& Sections,
                                   const std::string& Name) {
  // No completed section: the array was never sized, and asking for its bounds fails.
  if (Sections.empty()) RaisePlatformError(errnum::SubscriptOutOfRange);
  for (size_t i = 0; i < Sections.size(); ++i) {
    if (Sections[i].Name == Name) return static_cast<int32_t>(i);
  }
  return -1;
}

Vessik_Layers Vessik_Parser::ParseLayers(const std::vector<Vessik_Section>& Sections) {
  Vessik_Layers result;
  int32_t idx = FindSection(Sections, "TABLES");
  if (idx == -1) return result;
  const Vessik_Section& section = Sections[static_cast<size_t>(idx)];
  const GroupPairTable& pairs = GroupPairs();
  int32_t n = 0;
  std::shared_ptr<Vessik_Layer> current;
  // The first "LAYER" is the table's own header: it starts a record that is never
  // stored. Each later one stores the record before it, and "ENDTAB" the last.
  for (int32_t i = section.BeginLine; i <= section.EndLine; ++i) {
    std::string_view value = pairs.Value(i);
    const bool endTab = value == "ENDTAB";
    if (value == "LAYER" || (endTab && n > 0)) {
      if (current) {
        if (n > 0) result.push_back(current);
        n = n + 1;
      }
      if (endTab) break;
      current = std::make_shared<Vessik_Layer>();
    }
    const int32_t code = pairs.Code(i);
    if (code == 2 && current && current->Name.empty()) current->Name = std::string(value);
    if (code == 62 && current) current->Color->ColorACI(TextToLong(value));
  }
  return result;
}

std::vector<Vessik_Block> Vessik_Parser::ParseBlocks(const std::vector<Vessik_Section>& Sections) {
  std::vector<Vessik_Block> result;
  int32_t idx = FindSection(Sections, "BLOCKS");
  if (idx == -1) return result;
  const Vessik_Section& section = Sections[static_cast<size_t>(idx)];
  const GroupPairTable& pairs = GroupPairs();
  std::unique_ptr<Vessik_Block> current;
  const double unset = BlockUnset();
  for (int32_t i = section.BeginLine; i <= section.EndLine; ++i) {
    const int32_t code = pairs.Code(i);
    std::string_view value = pairs.Value(i);
    switch (code) {
      case 0:
        if (value == "BLOCK") {
          current = std::make_unique<Vessik_Block>();
          current->StartLine = i;
          current->X = unset;
          current->Y = unset;
          current->Z = unset;
        } else if (value == "ENDBLK") {
          if (!current) RaisePlatformError(errnum::ObjectNotSet);
          if (IsBlockUnset(current->X)) current->X = 0;
          if (IsBlockUnset(current->Y)) current->Y = 0;
          if (IsBlockUnset(current->Z)) current->Z = 0;
          current->EndLine = i;
          result.push_back(std::move(*current));
          current.reset();
        }
        break;
      case 2:
        if (current && current->Name.empty()) current->Name = std::string(value);
        break;
      case 10:
        if (current && IsBlockUnset(current->X)) current->X = ParseDouble(value);
        break;
      case 20:
        if (current && IsBlockUnset(current->Y)) current->Y = ParseDouble(value);
        break;
      case 30:
        if (current && IsBlockUnset(current->Z)) current->Z = ParseDouble(value);
        break;
      default:
        break;
    }
  }
  return result;
}

std::unique_ptr<Vessik_Insert> Vessik_Parser::ParseEntities(
    const std::vector<Vessik_Section>& Sections, const std::vector<Vessik_Block>& Blocks,
    Vessik_Layers& Layers, Vessik_CommonData* Data, Vessik_Progress* Progress) {
  int32_t idx = FindSection(Sections, "ENTITIES");
  if (idx == -1) return nullptr;
  const Vessik_Section& section = Sections[static_cast<size_t>(idx)];
  auto root = std::make_unique<Vessik_Insert>();
  root->Progress(Progress);
  root->OneShot(oneShot_);
  root->StreamTo(sink_);
  if (oneShot_) root->TextSizeHint(static_cast<int64_t>(GroupPairs().ByteCount()) * 2);
  // Entities look their layers and blocks up by name: hashed while this reads.
  LayerLookup layerLookup(Layers);
  BlockLookup blockLookup(Blocks);
  root->Entities =
      root->ReadEntities(section.BeginLine, section.EndLine, root.get(), Data, Blocks, Layers);
  if (Progress == nullptr) RaisePlatformError(errnum::ObjectNotSet);
  Progress->DoProgress(50);
  return root;
}

}  // namespace vessik
