#include "entities/CurvePool.h"

#include "entities/EntityFactory.h"

namespace vessik {
namespace {

thread_local CurvePool* t_pool = nullptr;

}  // namespace

CurvePool* CurrentCurvePool() noexcept {
  return t_pool;
}

CurvePoolScope::CurvePoolScope(CurvePool* pool) noexcept : outer_(t_pool) {
  t_pool = pool;
}

CurvePoolScope::~CurvePoolScope() {
  t_pool = outer_;
}

bool IsPooledCurve(int keywordIndex) noexcept {
  return keywordIndex >= 0 &&
         (kEntityKeywords[keywordIndex] == "ELLIPSE" || kEntityKeywords[keywordIndex] == "SPLINE");
}

namespace {

// Fits the curve on this thread and gives its work back at once, while it is
// still in the cache.
void FitNow(Vessik_IEntity* item, const Vessik_CommonData& settings) {
  Vessik_CommonData copy = settings;
  item->Vessik_IEntity_Init(&copy);
  item->DropInitWork();
}

// Fits each curve on the reading thread as it comes.
class InlineCurvePool : public CurvePool {
 public:
  void Submit(Vessik_IEntity* item, const Vessik_CommonData& settings) override {
    FitNow(item, settings);
    ++fitted_;
  }
  int64_t Submitted() const override { return fitted_; }
  int64_t Done() const override { return fitted_; }
  bool Failed() const override { return false; }
  void WaitForDone(int64_t) override {}
  void Settle() override {}
  std::exception_ptr SettleQuietly() noexcept override { return nullptr; }

 private:
  int64_t fitted_ = 0;
};

}  // namespace

std::unique_ptr<CurvePool> CurvePool::StartInline() {
  return std::make_unique<InlineCurvePool>();
}

}  // namespace vessik

#ifdef _WIN32

namespace vessik {

// No threads of our own there (see the printing thread): curves are fitted as
// they are read.
std::unique_ptr<CurvePool> CurvePool::Start() {
  return StartInline();
}

}  // namespace vessik

#else

#include <locale.h>
#include <sched.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "entities/RecordText.h"
#include "entities/Vessik_IEntity.h"
#include "parser/ParseLimits.h"
#include "parser/PumpingWait.h"
#include "parser/Vessik_Hooks.h"
#include "parser/Vessik_Utils.h"

namespace vessik {
namespace {

// Fits outstanding at once. Enough to keep every worker busy behind a reading
// that meets its curves in bursts; the queue is a fixed ring of this many jobs.
constexpr int64_t kWindow = 1024;

struct Job {
  Vessik_IEntity* item = nullptr;
  Vessik_CommonData settings;
  std::exception_ptr failure;
  bool finished = false;
};

class ThreadCurvePool : public CurvePool {
 public:
  explicit ThreadCurvePool(unsigned workers) : workerCount_(workers), ring_(kWindow) {}
  ~ThreadCurvePool() override;

  void Submit(Vessik_IEntity* item, const Vessik_CommonData& settings) override;
  int64_t Submitted() const override { return submitted_; }
  int64_t Done() const override { return done_.load(std::memory_order_acquire); }
  bool Failed() const override { return failed_.load(std::memory_order_acquire); }
  void WaitForDone(int64_t count) override;
  void Settle() override;
  std::exception_ptr SettleQuietly() noexcept override;

 private:
  Job& Slot(int64_t n) { return ring_[static_cast<size_t>((n - 1) % kWindow)]; }
  // Starts the workers at the first curve, so a drawing without any costs none.
  bool StartWorkers();
  void Work();
  // Under mutex_: counts the finished jobs at the front as done, up to the first
  // failure.
  void Advance();
  const unsigned workerCount_;
  std::vector<std::thread> workers_;
  // Fitting on the reading thread after the workers could not be started.
  bool inline_ = false;

  std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable settled_;
  std::vector<Job> ring_;
  // Under mutex_ (submitted_ is written by the reading thread alone).
  int64_t submitted_ = 0;
  int64_t taken_ = 0;
  int64_t finished_ = 0;
  int64_t failedAt_ = 0;
  // The done count the reading thread waits for in WaitForDone; 0 for none.
  int64_t awaited_ = 0;
  bool stopping_ = false;
  std::atomic<int64_t> done_{0};
  // Set with failedAt_, for the reading thread to look at without the mutex.
  std::atomic<bool> failed_{false};
  // Read by the fits under way through their cancel polls.
  std::atomic<bool> abandon_{false};
};

ThreadCurvePool::~ThreadCurvePool() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
    abandon_.store(true, std::memory_order_relaxed);
  }
  wake_.notify_all();
  for (std::thread& t : workers_) t.join();
}

bool ThreadCurvePool::StartWorkers() {
  // A worker works as the reading thread would: the same memory and cancel flag,
  // the same number format; the host's messages are pumped by the reading thread.
  locale_t locale = uselocale(static_cast<locale_t>(nullptr));
  ParseLimits* limits = CurrentParseLimits();
  const RecordForm form = CurrentRecordForm();
  try {
    for (unsigned k = 0; k < workerCount_; ++k) {
      workers_.emplace_back([this, locale, limits, form] {
        uselocale(locale);
        RecordFormScope formScope(form);
        SilencePump();
        ParseLimitsScope scope(limits);
        StopFlagScope stop(&abandon_);
        Work();
      });
    }
  } catch (const std::system_error&) {
    // Whatever started takes jobs as usual; with none, the reading thread fits.
    return !workers_.empty();
  }
  return true;
}

void ThreadCurvePool::Submit(Vessik_IEntity* item, const Vessik_CommonData& settings) {
  if (workers_.empty() && !inline_) inline_ = !StartWorkers();
  if (inline_) {
    FitNow(item, settings);
    ++submitted_;
    done_.store(submitted_, std::memory_order_release);
    return;
  }
  {
    std::unique_lock<std::mutex> lock(mutex_);
    WaitPumping(settled_, lock, [&] { return failedAt_ != 0 || submitted_ - Done() < kWindow; });
    // Past a failure nothing more is fitted: the reading ends with that failure
    // at the next settling, and the items after it are never printed.
    if (failedAt_ != 0) return;
    Job& job = Slot(++submitted_);
    job.item = item;
    job.settings = settings;
    job.failure = nullptr;
    job.finished = false;
  }
  wake_.notify_one();
}

void ThreadCurvePool::Work() {
  for (;;) {
    Job* job;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      wake_.wait(lock, [&] { return stopping_ || taken_ < submitted_; });
      if (stopping_) return;
      job = &Slot(++taken_);
    }
    std::exception_ptr failure;
    // After a failure further fits would be thrown away: they are skipped.
    if (!abandon_.load(std::memory_order_relaxed)) {
      try {
        job->item->Vessik_IEntity_Init(&job->settings);
        // Freed here, the fit's memory goes back to this thread's own heap,
        // without contending for it with the thread that fits.
        job->item->DropInitWork();
      } catch (...) {
        failure = std::current_exception();
      }
    }
    bool wanted;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      job->failure = failure;
      job->finished = true;
      ++finished_;
      const bool windowFull = submitted_ - Done() >= kWindow;
      Advance();
      // The reading thread is only woken when what it may wait for has come: all
      // fits done, a failure, or room in a full window. A wake for every fit would
      // cost a system call and a switch of threads each.
      wanted = finished_ == submitted_ || failedAt_ != 0 || windowFull ||
               (awaited_ != 0 && Done() >= awaited_);
    }
    if (wanted) settled_.notify_all();
  }
}

void ThreadCurvePool::Advance() {
  if (failedAt_ != 0) return;
  int64_t done = done_.load(std::memory_order_relaxed);
  while (done < submitted_ && Slot(done + 1).finished) {
    if (Slot(done + 1).failure) {
      failedAt_ = done + 1;
      failed_.store(true, std::memory_order_release);
      abandon_.store(true, std::memory_order_relaxed);
      break;
    }
    ++done;
  }
  done_.store(done, std::memory_order_release);
}

void ThreadCurvePool::WaitForDone(int64_t count) {
  if (inline_) return;
  std::unique_lock<std::mutex> lock(mutex_);
  awaited_ = count;
  WaitPumping(settled_, lock,
              [&] { return failedAt_ != 0 || finished_ == submitted_ || Done() >= count; });
  awaited_ = 0;
}

std::exception_ptr ThreadCurvePool::SettleQuietly() noexcept {
  if (inline_) return nullptr;
  std::unique_lock<std::mutex> lock(mutex_);
  // Every job finished, the skipped ones too: nothing may still use an item when
  // the caller lets the items go.
  try {
    WaitPumping(settled_, lock, [&] { return finished_ == submitted_; });
  } catch (...) {
    // Only the host's messages can raise here, and they are kept from it; wait
    // without them.
    settled_.wait(lock, [&] { return finished_ == submitted_; });
  }
  return failedAt_ != 0 ? Slot(failedAt_).failure : nullptr;
}

void ThreadCurvePool::Settle() {
  if (std::exception_ptr failure = SettleQuietly()) std::rethrow_exception(failure);
}

}  // namespace

// The processors this process may run on (a machine's count may be narrowed for
// it), at least 1.
unsigned UsableProcessors() {
#ifdef __linux__
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof set, &set) == 0) {
    const int count = CPU_COUNT(&set);
    if (count > 0) return static_cast<unsigned>(count);
  }
#endif
  return std::max(1u, std::thread::hardware_concurrency());
}

std::unique_ptr<CurvePool> CurvePool::Start() {
  const int32_t wanted = CurveThreads();
  const unsigned workers = wanted > 0 ? static_cast<unsigned>(wanted) : UsableProcessors();
  // One thread is the reading thread itself.
  if (workers < 2) return StartInline();
  return std::make_unique<ThreadCurvePool>(workers);
}

}  // namespace vessik

#endif
