#include "entities/AheadPrinter.h"

#include "parser/Vessik_Error.h"

namespace vessik {
namespace {

// Items sent to the printing thread at once: few enough that it keeps close behind
// the reading, many enough that handing over costs nothing worth counting.
constexpr size_t kBatch = 256;
// Each new layer met while reading means a fresh copy of the layer list for the
// items after it; beyond this many layers that is no longer worth it.
constexpr size_t kMostLayersCopied = 1024;

}  // namespace

bool AheadPrinter::Submit(Vessik_IEntity* item, const Vessik_Layers& layers) {
  if (refused_) return false;
  if (layers_.empty() || layers_.back()->size() != layers.size()) {
    // Layers are only ever added while reading, so the count tells a change.
    if (layers.size() > kMostLayersCopied) {
      refused_ = true;
      Flush();
      return false;
    }
    layers_.push_back(std::make_unique<Vessik_Layers>(layers));
  }
  batch_.push_back(Job{item, layers_.back().get()});
  ++submitted_;
  if (batch_.size() >= kBatch) Flush();
  return true;
}

}  // namespace vessik

#ifdef _WIN32

namespace vessik {

// The decimal separator may be a setting of each thread there, which a second
// thread would not see; and the toolchain may have no threads of its own.
std::unique_ptr<AheadPrinter> AheadPrinter::Start(int64_t, TextSink*) {
  return nullptr;
}

}  // namespace vessik

#else

#include <locale.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "entities/RecordText.h"
#include "entities/Vessik_IEntity.h"
#include "parser/LargeMemory.h"
#include "parser/ParseLimits.h"
#include "parser/PumpingWait.h"
#include "parser/Vessik_Utils.h"

namespace vessik {
namespace {

class ThreadPrinter : public AheadPrinter {
 public:
  ~ThreadPrinter() override;
  void Flush() override;
  int32_t Printed() const override { return printed_.load(std::memory_order_acquire); }
  void WaitFor(int32_t count) override;
  void CatchUp(int32_t count) override;
  Vessik_Concat TakeText() override;

  void Reserve(int64_t bytes) { text_.Reserve(bytes); }
  void StreamTo(TextSink* sink) { text_.StreamTo(sink); }
  void Run();

  std::thread thread_;

 private:
  // Tells the reading side that this many more items are printed.
  void Tell(size_t printed);
  void Stop();
  void Fail();
  void RethrowFailure();
  // While the reading waits for the first count items: gets the pages ahead of
  // the text ready to be written.
  void PrepareAhead(int32_t count);

  // Shared, under mutex_, apart from the reading side's fields.
  alignas(64) std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable progress_;
  Jobs queue_;
  bool finishing_ = false;
  std::atomic<bool> stopping_{false};
  // Set when the printing thread ran out of memory or saw a cancel: the reading
  // side then ends the parse the same way instead of getting a text with items
  // missing. failure_ is written before failed_ is set, and read only after.
  std::atomic<bool> failed_{false};
  std::exception_ptr failure_;
  alignas(64) std::atomic<int32_t> printed_{0};
  // The text's storage and how much of it is written, as the printing thread
  // left them after its last batch.
  std::atomic<const char*> storage_{nullptr};
  std::atomic<size_t> capacity_{0};
  std::atomic<size_t> written_{0};
  // The reading side's own: how far into that storage it has made pages ready.
  const char* readyIn_ = nullptr;
  size_t readyTo_ = 0;
  // The printing thread's own, apart from all the rest: it changes with every
  // record, and a line shared with fields the reading side reads would go back and
  // forth between the processors.
  alignas(64) Vessik_Concat text_;
};

}  // namespace

std::unique_ptr<AheadPrinter> AheadPrinter::Start(int64_t textSizeHint, TextSink* sink) {
  auto printer = std::make_unique<ThreadPrinter>();
  if (sink != nullptr) {
    printer->StreamTo(sink);
  } else if (textSizeHint > 0) {
    printer->Reserve(textSizeHint);
  }
  // Numbers are written with the decimal separator of the calling thread's locale,
  // and the memory and the cancel flag are those of the calling thread's parse.
  locale_t locale = uselocale(static_cast<locale_t>(nullptr));
  ParseLimits* limits = CurrentParseLimits();
  const RecordForm form = CurrentRecordForm();
  try {
    printer->thread_ = std::thread([p = printer.get(), locale, limits, form] {
      uselocale(locale);
      RecordFormScope formScope(form);
      SilencePump();
      ParseLimitsScope scope(limits);
      p->Run();
    });
  } catch (const std::system_error&) {
    return nullptr;
  }
  return printer;
}

ThreadPrinter::~ThreadPrinter() {
  Stop();
}

void ThreadPrinter::Flush() {
  if (batch_.empty()) return;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (queue_.empty()) {
      queue_.swap(batch_);
    } else {
      queue_.insert(queue_.end(), batch_.begin(), batch_.end());
    }
  }
  batch_.clear();
  wake_.notify_one();
}

void ThreadPrinter::WaitFor(int32_t count) {
  if (Printed() >= count) return;
  Flush();
  std::unique_lock<std::mutex> lock(mutex_);
  progress_.wait(lock, [&] { return Printed() >= count || failed_.load(); });
  lock.unlock();
  RethrowFailure();
}

void ThreadPrinter::CatchUp(int32_t count) {
  if (Printed() >= count) return;
  Flush();
  PrepareAhead(count);
  std::unique_lock<std::mutex> lock(mutex_);
  WaitPumping(progress_, lock, [&] { return Printed() >= count || failed_.load(); });
  lock.unlock();
  RethrowFailure();
}

void ThreadPrinter::PrepareAhead(int32_t count) {
  // A long text kept whole is written into fresh memory, and the first touch of
  // each page costs the printing thread about as much as the text it puts there.
  // This thread would only wait meanwhile: it pays for the pages the text reaches
  // next, a few at a time so that it stops waiting as soon as it may go on. The
  // kernel leaves alone the pages already written, and a storage that moved on
  // since it was seen is at worst made ready for nothing.
  // Never far ahead: pages made ready past the end of the text stay in memory
  // unused.
  constexpr size_t kStep = size_t{2} << 20;
  constexpr size_t kFarthest = size_t{16} << 20;
  const char* storage = storage_.load(std::memory_order_acquire);
  if (storage == nullptr) return;
  if (storage != readyIn_) {
    readyIn_ = storage;
    readyTo_ = 0;
  }
  const size_t written = written_.load(std::memory_order_relaxed);
  const size_t end = std::min(capacity_.load(std::memory_order_relaxed), written + kFarthest);
  readyTo_ = std::max(readyTo_, written);
  while (readyTo_ < end && Printed() < count) {
    const size_t to = std::min(end, readyTo_ + kStep);
    PreparePages(storage + readyTo_, storage + to);
    readyTo_ = to;
  }
}

void ThreadPrinter::RethrowFailure() {
  if (failed_.load()) std::rethrow_exception(failure_);
}

Vessik_Concat ThreadPrinter::TakeText() {
  Flush();
  {
    std::lock_guard<std::mutex> lock(mutex_);
    finishing_ = true;
  }
  wake_.notify_one();
  if (thread_.joinable()) thread_.join();
  RethrowFailure();
  return std::move(text_);
}

void ThreadPrinter::Fail() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    failure_ = std::current_exception();
    failed_.store(true);
  }
  progress_.notify_all();
}

void ThreadPrinter::Stop() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_.store(true, std::memory_order_relaxed);
    queue_.clear();
  }
  wake_.notify_one();
  if (thread_.joinable()) thread_.join();
}

void ThreadPrinter::Run() {
  Jobs jobs;
  for (;;) {
    {
      std::unique_lock<std::mutex> lock(mutex_);
      wake_.wait(lock, [&] {
        return !queue_.empty() || finishing_ || stopping_.load(std::memory_order_relaxed);
      });
      if (queue_.empty()) return;
      jobs.swap(queue_);
    }
    size_t told = 0;
    for (size_t k = 0; k < jobs.size(); ++k) {
      const Job& job = jobs[k];
      if (stopping_.load(std::memory_order_relaxed)) return;
      // A long backlog is told of as it goes, a batch of the reading at a time: the
      // reading, held back until part of it is printed, goes on while the rest is.
      if (k - told == kBatch) {
        Tell(k - told);
        told = k;
      }
      // As when printing the drawing's items one after the other: an item that
      // fails is left out whole, and the others still print.
      const int64_t before = text_.length();
      try {
        job.item->AppendText(text_, *job.layers);
      } catch (...) {
        if (InFlightEndsTheParse()) {
          Fail();
          return;
        }
        text_.Truncate(before);
      }
      // Between two items the text is whole: a large part of it may go out.
      try {
        text_.Drain();
      } catch (...) {
        Fail();
        return;
      }
    }
    Tell(jobs.size() - told);
    jobs.clear();
  }
}

void ThreadPrinter::Tell(size_t printed) {
  // Told once for each batch: a count read on the other side for every item would
  // make the two threads fight over its cache line.
  capacity_.store(text_.Capacity(), std::memory_order_relaxed);
  written_.store(static_cast<size_t>(text_.View().size()), std::memory_order_relaxed);
  storage_.store(text_.Storage(), std::memory_order_release);
  printed_.fetch_add(static_cast<int32_t>(printed), std::memory_order_release);
  {
    // Taken so that a waiter between its test and its sleep is not missed.
    std::lock_guard<std::mutex> lock(mutex_);
  }
  progress_.notify_all();
}

}  // namespace vessik

#endif
