#include "entities/Vessik_Insert.h"

#include <algorithm>
#include <cmath>

#include "entities/AheadPrinter.h"
#include "entities/EntityArena.h"
#include "entities/EntityFactory.h"
#include "entities/Vessik_Entity.h"
#include "geometry/Vessik_Math.h"
#include "parser/LargeMemory.h"
#include "parser/NameLookup.h"
#include "parser/ParseLimits.h"
#include "parser/Vessik_Concat.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Progress.h"
#include "parser/Vessik_Utils.h"

namespace vessik {
namespace {

// Memory freed while printing that is handed back to the system at once.
constexpr int64_t kTrimBatch = int64_t{64} << 20;

// The read-ahead settings of this thread's parses (0: the usual ones), and the
// waits for the printing thread, without and with overlap. For tests.
thread_local int64_t t_readAhead = 0;
thread_local int32_t t_pairsBeforeOverlap = 0;
thread_local int64_t t_waits[2] = {0, 0};

}  // namespace

void SetReadAhead(int64_t bytes, int32_t pairsBeforeOverlap) {
  t_readAhead = bytes;
  t_pairsBeforeOverlap = pairsBeforeOverlap;
}

int64_t ReadAheadWaits(bool overlapping) {
  return t_waits[overlapping ? 1 : 0];
}

Vessik_Insert::~Vessik_Insert() {
  printer_.reset();
  EndCurves();
  if (Entities) {
    for (auto& item : *Entities) item.reset();
    Entities->Clear();
  }
  parent_ = nullptr;
  PumpMessages();
}

std::string Vessik_Insert::Vessik_IEntity_LayerName(Vessik_Layers& Layers) {
  return std::string(EntityLayerName(Layer, Layers));
}

int32_t Vessik_Insert::Vessik_IEntity_Read(int32_t StartLine, Vessik_Layers& Layers) {
  return ReadGroups(StartLine, [&](int32_t code, std::string_view value) {
    switch (code) {
      case 2:
        Name = std::string(value);
        break;
      case 5:
        Id = HandleToId(value);
        break;
      case 8:
        Layer = LayerIndex(Layers, value);
        break;
      case 10:
        placement_.X = ParseDouble(value);
        break;
      case 20:
        placement_.Y = ParseDouble(value);
        break;
      case 30:
        placement_.Z = ParseDouble(value);
        break;
      case 41:
        placement_.XScale = ParseDouble(value);
        break;
      case 42:
        placement_.YScale = ParseDouble(value);
        break;
      case 43:
        placement_.ZScale = ParseDouble(value);
        break;
      case 50:
        Rotation(ParseDouble(value));
        break;
      default:
        break;
    }
  });
}

void Vessik_Insert::Rotation(double v) {
  rotation_ = v;
  const double a = Deg2Rad(v);
  placement_.Cos = std::cos(a);
  placement_.Sin = std::sin(a);
}

void Vessik_Insert::ExpandBlock(Vessik_CommonData* Data, const std::vector<Vessik_Block>& Blocks,
                                Vessik_Layers& Layers, int Level) {
  if (Blocks.empty()) return;
  // The first block of the name counts.
  const Vessik_Block* block = nullptr;
  BlockLookup* lookup = BlockLookup::For(Blocks);
  if (lookup != nullptr) {
    block = lookup->Find(Name);
  } else {
    for (const Vessik_Block& b : Blocks) {
      if (b.Name == Name) {
        block = &b;
        break;
      }
    }
  }
  if (block == nullptr) return;
  // A block that refers to itself, directly or through others, would nest without
  // end; the reference that goes too deep fails the parse cleanly instead.
  if (Level > kMaxNesting) RaisePlatformError(errnum::OutOfStackSpace);
  placement_.XBlock = block->X;
  placement_.YBlock = block->Y;
  placement_.ZBlock = block->Z;
  const int32_t expected = lookup != nullptr ? lookup->ItemCount(*block) : 0;
  Entities =
      ReadEntities(block->StartLine, block->EndLine, this, Data, Blocks, Layers, Level, expected);
  if (lookup != nullptr && expected == 0) lookup->NoteItemCount(*block, Entities->Count());
}

std::unique_ptr<Vessik_Entities> Vessik_Insert::ReadEntities(
    int32_t StartLine, int32_t EndLine, Vessik_IParent* Parent, Vessik_CommonData* Data,
    const std::vector<Vessik_Block>& Blocks, Vessik_Layers& Layers, int Level,
    int32_t ExpectedItems) {
  auto result = std::make_unique<Vessik_Entities>();
  result->Reserve(ExpectedItems);
  const bool topLevel = Parent != nullptr && Parent->Parent() == nullptr;
  // A drawing read to be printed once is printed while it is read, and its curves
  // are fitted on other threads meanwhile.
  if (topLevel && oneShot_) {
    printer_ = AheadPrinter::Start(textSizeHint_, sink_);
    curves_ = CurvePool::Start();
  }
  CurvePoolScope poolScope(topLevel ? curves_.get() : CurrentCurvePool());
  try {
    ReadItems(*result, StartLine, EndLine, Parent, Data, Blocks, Layers, Level);
  } catch (...) {
    // The printing thread stops before the items it may be printing go.
    printer_.reset();
    // So must every fit of these items. A fit submitted before that failed is
    // the failure that reading one item at a time meets first.
    std::exception_ptr earlier;
    if (CurvePool* pool = CurrentCurvePool()) earlier = pool->SettleQuietly();
    if (topLevel) EndCurves();
    if (earlier) std::rethrow_exception(earlier);
    throw;
  }
  if (topLevel) EndCurves();
  if (printer_) {
    HandOver(*result, Layers);
    printer_->Flush();
  }
  return result;
}

void Vessik_Insert::EndCurves() {
  curves_.reset();
  fitsNeeded_.clear();
  fitsHanded_ = 0;
}

void Vessik_Insert::HandOver(Vessik_Entities& items, Vessik_Layers& Layers) {
  // An item goes only once the fits of its curves are done.
  const int64_t fitted = curves_ ? curves_->Done() : 0;
  while (printer_->Submitted() < items.Count()) {
    const bool waits = curves_ && fitsHanded_ < fitsNeeded_.size();
    if (waits && fitsNeeded_[fitsHanded_] > fitted) return;
    if (!printer_->Submit(items.Item(printer_->Submitted() + 1).get(), Layers)) return;
    if (waits && ++fitsHanded_ == fitsNeeded_.size()) {
      fitsNeeded_.clear();
      fitsHanded_ = 0;
    }
  }
}

void Vessik_Insert::InitItem(Vessik_IEntity& entity, int keyword, Vessik_CommonData* Data) {
  CurvePool* pool = CurrentCurvePool();
  if (pool != nullptr && Data != nullptr && IsPooledCurve(keyword)) {
    pool->Submit(&entity, *Data);
  } else {
    entity.Vessik_IEntity_Init(Data);
  }
}

bool Vessik_Insert::SettleCurves(Vessik_Entities& result) {
  if (!curves_) return true;
  try {
    curves_->Settle();
  } catch (const ParseCanceled&) {
    DropRead(result);
    return false;
  }
  return true;
}

void Vessik_Insert::ReadItems(Vessik_Entities& result, int32_t StartLine, int32_t EndLine,
                              Vessik_IParent* Parent, Vessik_CommonData* Data,
                              const std::vector<Vessik_Block>& Blocks, Vessik_Layers& Layers,
                              int Level) {
  const GroupPairTable& pairs = GroupPairs();
  const bool topLevel = Parent != nullptr && Parent->Parent() == nullptr;
  int32_t lastPercent = 0;
  int32_t freed = 0;
  int64_t readingBase = MemoryUsed();
  const int64_t readAhead = t_readAhead != 0 ? t_readAhead : kReadAhead;
  const int32_t pairsBeforeOverlap =
      t_pairsBeforeOverlap != 0 ? t_pairsBeforeOverlap : kPairsBeforeOverlap;
  int32_t i = StartLine;
  int32_t released = StartLine;
  while (i <= EndLine) {
    // Inside a block, a cancel stops the expansion at once; the top level ends its
    // loop the usual way below.
    if (!topLevel) PollCancel();
    int keyword = KeywordIndex(pairs.Value(i));
    std::unique_ptr<Vessik_IEntity> entity = keyword >= 0 ? CreateEntity(keyword) : nullptr;
    if (entity) {
      entity->Vessik_IEntity_Parent(Parent);
      try {
        i = entity->Vessik_IEntity_Read(i + 1, Layers);
        if (keyword == kInsertKeyword) {
          static_cast<Vessik_Insert*>(entity.get())->ExpandBlock(Data, Blocks, Layers, Level + 1);
        }
        InitItem(*entity, keyword, Data);
      } catch (const ParseCanceled&) {
        // Cancelled inside a long item (a fit, an expansion): the item goes
        // unfinished, and the top level ends as after any cancel.
        if (!topLevel) throw;
        if (SettleCurves(result)) DropRead(result);
        return;
      }
      result.Add(std::move(entity));
      if (topLevel && curves_ && printer_) fitsNeeded_.push_back(curves_->Submitted());
      if (topLevel && printer_) {
        // With no layer yet, an item would print "NoName" now but the first layer's
        // name once a later item adds one: it waits for the layer, or the end.
        if (!Layers.empty()) HandOver(result, Layers);
        // Items whose text is made are not needed any more.
        if (result.Count() % 256 == 0) FreePrinted(result, freed);
        // While nearly all the pairs are still held the parse holds the most
        // memory: the reading keeps half as far ahead, and waits until all it read
        // is printed. Once the pairs given back make room, it waits only until
        // half the items waiting are printed, and goes on while the printing
        // thread prints the rest.
        const bool room = oneShot_ && i - StartLine >= pairsBeforeOverlap;
        if (ReadTooFarAhead(readingBase, room ? readAhead : readAhead / 2)) {
          ++t_waits[room ? 1 : 0];
          const int32_t printed = printer_->Printed();
          const int32_t submitted = printer_->Submitted();
          printer_->CatchUp(room ? printed + (submitted - printed + 1) / 2 : submitted);
          FreePrinted(result, freed);
          // What printing did not give back (the list of items itself grows with
          // the drawing) is no read-ahead: measured from here, a large drawing does
          // not come to wait for the printer after every item. The half still
          // waiting counts as read ahead.
          readingBase = MemoryUsed() - (room ? readAhead / 2 : 0);
        }
      }
    }
    if (topLevel) {
      int32_t percent = RoundToLong(static_cast<double>(i - StartLine) /
                                    static_cast<double>(EndLine - StartLine) * 50);
      if (percent > lastPercent) {
        if (progress_ == nullptr) RaisePlatformError(errnum::ObjectNotSet);
        // The host hears of progress only once every item before it is whole, as
        // when each curve was fitted in turn. Progress that nobody hears needs no
        // wait, and the fits go on meanwhile; a fit that failed still ends the
        // reading here.
        if (progress_->HasHandlers() || (curves_ && curves_->Failed())) {
          if (!SettleCurves(result)) return;
        }
        progress_->DoProgress(RoundToLong(percent / 2.0 + 50));
      }
      // The pairs read are given back about a huge page at a time, whatever the
      // drawing's size: at its start the read-ahead comes on top of them.
      if (oneShot_ && (percent > lastPercent || i - released >= kReleasePairs)) {
        GroupPairs().ReleaseRead(StartLine, i);
        released = i;
      }
      lastPercent = percent;
      if (progress_ == nullptr) RaisePlatformError(errnum::ObjectNotSet);
      if (progress_->IsCanceled()) {
        if (SettleCurves(result)) DropRead(result);
        return;
      }
    }
    PumpMessages();
    i = i + 1;
  }
  if (topLevel) {
    HandOverWhileFitting(result, Layers);
    (void)SettleCurves(result);
  }
}

void Vessik_Insert::HandOverWhileFitting(Vessik_Entities& result, Vessik_Layers& Layers) {
  // Fits done between two hand-overs: a wake of the reading thread for each
  // would cost more than printing a few items later.
  constexpr int64_t kFitsPerHandOver = 32;
  if (!curves_ || !printer_ || Layers.empty()) return;
  while (!curves_->Failed() && curves_->Done() < curves_->Submitted()) {
    curves_->WaitForDone(curves_->Done() + kFitsPerHandOver);
    HandOver(result, Layers);
    printer_->Flush();
  }
}

void Vessik_Insert::FreePrinted(Vessik_Entities& result, int32_t& freed) {
  EntityFreeBatch batch;
  for (const int32_t printed = printer_->Printed(); freed < printed;) {
    result.Item(++freed).reset();
  }
}

int64_t Vessik_Insert::MemoryUsed() {
  const ParseLimits* limits = CurrentParseLimits();
  return limits != nullptr ? limits->Used() : 0;
}

bool Vessik_Insert::ReadTooFarAhead(int64_t base, int64_t limit) {
  // Items read and not yet printed pile up: a reference expanded into many items
  // reads far faster than it prints. Held back, the reading frees items as fast as
  // it makes new ones, and their memory is used again instead of fresh pages,
  // whether the text is streamed or kept whole.
  return printer_->Printed() < printer_->Submitted() && MemoryUsed() - base > limit;
}

void Vessik_Insert::DropRead(Vessik_Entities& result) {
  printer_.reset();
  dropped_ = true;
  // The items read so far go, from the front; clearing them all at once keeps this
  // linear in a large drawing.
  for (auto& item : result) item.reset();
  result.Clear();
}

std::string Vessik_Insert::Vessik_IEntity_ToString(Vessik_Layers& Layers) {
  Vessik_Concat buffer;
  if (textSizeHint_ > 0 && !printer_) buffer.Reserve(textSizeHint_);
  AppendText(buffer, Layers);
  return buffer.TakeValue();
}

void Vessik_Insert::WriteText(Vessik_Layers& Layers) {
  Vessik_Concat text;
  text.StreamTo(sink_);
  AppendText(text, Layers);
  text.Flush();
}

void Vessik_Insert::TakePrintedText(Vessik_Concat& Text) {
  Vessik_Concat printed = printer_->TakeText();
  printer_.reset();
  // Streamed, the printed part goes out before anything else is appended.
  if (sink_ != nullptr) return printed.Flush();
  if (Text.length() == 0) {
    Text = std::move(printed);
  } else {
    Text.Concat(printed.View());
  }
}

void Vessik_Insert::AppendText(Vessik_Concat& Text, Vessik_Layers& Layers) {
  // Every statement here runs with failures ignored: an item that cannot be
  // printed is left out, and the others still print.
  // Only the root has a progress object; on every other reference the report is a
  // failed call that goes unnoticed, so it is simply not made (a raised and caught
  // failure per printed item would cost more than the item).
  try {
    if (progress_ != nullptr) progress_->DoProgress(50);
  } catch (...) {
  }
  if (Entities) {
    const int32_t count = Entities->Count();
    const double step = 100.0 / count;
    int32_t lastPercent = 0;
    int32_t trimmedPercent = 0;
    // The memory the parse held at the last hand-back, or its peak since.
    int64_t trimmedAt = 0;
    // A nested reference has neither progress nor memory to hand back: it needs no
    // percentages.
    const bool counts = progress_ != nullptr || oneShot_;
    for (int32_t k = 1; k <= count; ++k) {
      int32_t percent = lastPercent;
      if (counts) {
        try {
          percent = RoundToLong(k * step);
          if (percent > lastPercent && progress_ != nullptr) {
            progress_->DoProgress(RoundToLong(percent / 2.0 + 50));
          }
        } catch (...) {
        }
      }
      lastPercent = percent;
      PollCancel();
      if (printer_ && k <= printer_->Submitted()) {
        // Printed while the drawing was read.
        printer_->WaitFor(k);
      } else {
        if (printer_) TakePrintedText(Text);
        const int64_t before = Text.length();
        try {
          Vessik_IEntity* item = Entities->Item(k).get();
          if (item != nullptr) item->AppendText(Text, Layers);
        } catch (...) {
          // Memory that runs out is no fault of one item: leaving the item out
          // would hand the host a text silently short. The parse fails with 7; a
          // cancel ends it too.
          if (InFlightEndsTheParse()) throw;
          Text.Truncate(before);
        }
      }
      // A reference lets no failure of its items through, so nothing truncates
      // the text to before this point: a large part of it may go out.
      Text.Drain();
      if (oneShot_) {
        Entities->Item(k).reset();
        // The freed objects would stay with the allocator while the text grows
        // elsewhere: hand their pages back as printing advances, but only in large
        // batches. Each hand-back is a system call that stalls every processor
        // running the host's threads, and a small drawing's pages are better kept.
        if (percent > trimmedPercent) {
          trimmedPercent = percent;
          const int64_t used = MemoryUsed();
          if (trimmedAt - used >= kTrimBatch) {
            ReturnFreedMemory();
            trimmedAt = used;
          }
          trimmedAt = std::max(trimmedAt, used);
        }
      }
      PumpMessages();
    }
  }
  if (printer_) TakePrintedText(Text);
}

void Vessik_Insert::Vessik_IEntity_Release() {
  if (!Entities) {
    RaiseCatalogued(CataloguedError("InsertComponent"));
  }
  parent_ = nullptr;
}

}  // namespace vessik
