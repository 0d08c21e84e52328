#include "standalone/thread_pool.h"

#include <pthread.h>
#include <sched.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <thread>

#include "image/host_threads.h"
#include "image/parallel.h"

namespace velorin {

namespace {

// The system's choice may be less: the filters keep two line buffers of 256 KiB each in one frame,
// 512 KiB, and no other stage comes near.
constexpr std::size_t kStackBytes = 2u << 20;
// Any number of pixels serves, as long as every share has the same.
constexpr int kSharePixels = 1 << 16;
// Looks at a word, each giving way to other programs, before a thread goes to sleep on it. Stages
// follow each other closely, and a sleeper takes longer to wake than most gaps between them last.
constexpr int kLooks = 64;

thread_local int gShare = 0;

void AwaitChange(const std::atomic<int>& word, int old) {
    for (int i = 0; i < kLooks; ++i) {
        if (word.load(std::memory_order_acquire) != old) return;
        std::this_thread::yield();
    }
    word.wait(old, std::memory_order_acquire);
}

// The threads beside the calling one. They start with the floating-point settings of the thread
// that makes them, and nothing here touches those: as a program starts, denormals are kept and NaN
// raises nothing.
class ThreadPool {
  public:
    ~ThreadPool() { Stop(); }

    int Count() const { return started + 1; }
    void Resize(int count);
    void Run(void (*newWork)(void*), void* newArgument) noexcept;

  private:
    struct Member {
        ThreadPool* pool = nullptr;
        int share = 0;
        int seenJobs = 0;
        pthread_t thread{};
    };

    static void* Serve(void* argument);
    bool Start(Member& member, int share);
    void Stop();

    // A share of the job. An exception here would leave the others running: it ends the program.
    void DoShare() noexcept { work(argument); }

    Member members[kMaxThreads];
    int started = 0;
    void (*work)(void*) = nullptr;  // null asks the members to leave
    void* argument = nullptr;
    std::atomic<int> jobs{0};  // counts the jobs handed out; wraps
    std::atomic<int> unfinished{0};
};

void* ThreadPool::Serve(void* argument) {
    Member& member = *static_cast<Member*>(argument);
    ThreadPool& pool = *member.pool;
    gShare = member.share;
    for (;;) {
        AwaitChange(pool.jobs, member.seenJobs);
        member.seenJobs = pool.jobs.load();
        if (!pool.work) return nullptr;
        pool.DoShare();
        if (pool.unfinished.fetch_sub(1) == 1) pool.unfinished.notify_one();
    }
}

void ThreadPool::Run(void (*newWork)(void*), void* newArgument) noexcept {
    work = newWork;
    argument = newArgument;
    unfinished = started;
    jobs.fetch_add(1);
    jobs.notify_all();
    DoShare();
    for (int left = unfinished.load(); left != 0; left = unfinished.load()) {
        AwaitChange(unfinished, left);
    }
}

bool ThreadPool::Start(Member& member, int share) {
    member.pool = this;
    member.share = share;
    member.seenJobs = jobs.load();
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    pthread_attr_setstacksize(&attributes, kStackBytes);
    // The program's signals go to the program's own threads.
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const bool made = pthread_create(&member.thread, &attributes, Serve, &member) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    return made;
}

void ThreadPool::Stop() {
    work = nullptr;
    jobs.fetch_add(1);
    jobs.notify_all();
    for (int i = 0; i < started; ++i) pthread_join(members[i].thread, nullptr);
    started = 0;
}

void ThreadPool::Resize(int count) {
    if (count == Count()) return;
    Stop();
    while (started < count - 1 && Start(members[started], started + 1)) ++started;
}

ThreadPool gPool;

// While the pool is lent.
int gFramePixels = 0;  // 0 while it is not
void (*gOnFork)() = nullptr;

}  // namespace

PoolLoan::PoolLoan(int pixels, void (*onFork)()) {
    gFramePixels = pixels;
    gOnFork = onFork;
}

PoolLoan::~PoolLoan() {
    gFramePixels = 0;
    gOnFork = nullptr;
}

void UseThreads(int count) {
    gPool.Resize(std::clamp(count, 1, kMaxThreads));
    SetThreadCount(gPool.Count());
}

int AvailableProcessors() {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    const bool known = sched_getaffinity(0, sizeof allowed, &allowed) == 0;
    const int count =
        known ? CPU_COUNT(&allowed) : static_cast<int>(std::thread::hardware_concurrency());
    return std::clamp(count, 1, kMaxThreads);
}

int KQMPSparkGetNumberOfFramePixels() {
    return gFramePixels != 0 ? gFramePixels : kSharePixels * gPool.Count();
}

}  // namespace velorin

extern "C" {

void sparkMpFork(void (*worker)(void* argument), int /*one*/, void* argument) {
    if (velorin::gOnFork) velorin::gOnFork();
    velorin::gPool.Run(worker, argument);
}

void sparkMpInfo(long long* firstPixel, long long* pixelCount) {
    const int pixels = velorin::KQMPSparkGetNumberOfFramePixels();
    const int share = pixels / velorin::gPool.Count();
    const bool last = velorin::gShare == velorin::gPool.Count() - 1;
    *firstPixel = static_cast<long long>(velorin::gShare) * share;
    *pixelCount = last ? pixels - *firstPixel : share;
}
}
