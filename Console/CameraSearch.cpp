#include "CameraSearch.h"

#include "ToolLog.h"

#include "DeviceControl/BroadcastWorkerObserver.h"
#include "DeviceControl/DeviceFramework1Locator.h"
#include "Platform/Terminal.h"
#include "ReferenceHost/OperationLimits.h"

#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <utility>

namespace Console {

namespace {

using namespace std::chrono_literals;

/// How often Ctrl-C and the time are looked at.
constexpr auto lookInterval = 50ms;

/// What a search has to end by itself in once its connections have ended at its time.
constexpr auto grace = 500ms;

std::atomic<bool> threadLeftBehind{false};

} // namespace

/// What the search's thread and the waiting one share; the last of them takes it away.
struct CameraSearch::Shared {
    mutable std::mutex mutex;
    std::condition_variable news;
    std::vector<CameraTemplatePointer> found; ///< and not handed over yet
    SearchProgress progress;
    std::exception_ptr failure;
    std::vector<Diagnosis::LogLine> lines; ///< of its thread, once it is over
    ToolLog* log = nullptr;                ///< null once it is left to itself, and the log may be gone
    bool isOver = false;
};

namespace {

/// Hands what a search finds to a function.
class Collector : public BroadcastWorkerObserver {
public:
    explicit Collector(CameraSearch::Found found) : found_(std::move(found)) {}

    void deviceFound(DeviceTemplate* found, int /*reserved*/) override {
        std::unique_ptr<DeviceTemplate> owned(found);
        auto* const camera = dynamic_cast<NativeCameraTemplate*>(found);
        if (camera == nullptr)
            return;
        static_cast<void>(owned.release());
        found_(CameraTemplatePointer(camera));
    }

private:
    CameraSearch::Found found_;
};

} // namespace

CameraSearch::CameraSearch(DeviceFramework1Locator& locator, ToolLog& log, const TimeLimits& limits)
    : log_(log), limits_(limits), shared_(std::make_shared<Shared>()) {
    log_.listenTo(SearchProgress::loggerName, [shared = shared_, begin = begin_](std::string_view message) {
        const std::lock_guard lock(shared->mutex);
        shared->progress.take(message,
                              std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin));
    });
    shared_->log = &log_;
    thread_ = std::thread([&locator, limits, shared = shared_] { search(locator, limits, shared); });
}

CameraSearch::~CameraSearch() {
    leave();
}

void CameraSearch::leave() {
    if (!thread_.joinable())
        return;
    bool isOver = false;
    {
        const std::lock_guard lock(shared_->mutex);
        isOver = shared_->isOver;
        shared_->log = nullptr;
    }
    if (isOver) {
        thread_.join();
        log_.listenTo(SearchProgress::loggerName, {});
        return;
    }
    leaveThreadBehind();
    log_.ignore(thread_.get_id());
    thread_.detach();
}

void CameraSearch::search(DeviceFramework1Locator& locator, const TimeLimits& limits,
                          const std::shared_ptr<Shared>& shared) {
    Collector collector([&shared](CameraTemplatePointer camera) {
        const std::lock_guard lock(shared->mutex);
        shared->found.push_back(std::move(camera));
        shared->news.notify_one();
    });
    // It may be left behind, and a signal that waits for a file to be whole would find it.
    Platform::leaveSignalsToOthers();
    {
        const std::lock_guard lock(shared->mutex);
        if (shared->log != nullptr)
            shared->log->beginThread();
    }
    std::exception_ptr failure;
    try {
        TransportLimits ofEach = limits.ofSpeed();
        ofEach.hold = limits.ofIdentificationInASearch();
        const ReferenceHost::OperationLimits operation(limits.ofSearch(), ofEach);
        locator.broadcastObserverSearch(&collector, 0);
    } catch (...) {
        failure = std::current_exception();
    }
    const std::lock_guard lock(shared->mutex);
    shared->failure = failure;
    if (shared->log != nullptr)
        shared->lines = shared->log->takeLines();
    shared->isOver = true;
    shared->news.notify_one();
}

CameraSearch::End CameraSearch::await(const Found& found) {
    const TimeLimits::Time most = limits_.ofSearch();
    const bool isBounded = most > most.zero();
    for (;;) {
        if (handOver(found))
            return End::over;
        if (Platform::interrupted())
            return End::interrupted;
        const std::lock_guard lock(shared_->mutex);
        if (isBounded && elapsed() >= most + grace)
            return shared_->progress.hasBegun() ? End::stillAsking : End::unfollowed;
        if (isBounded && elapsed() >= limits_.ofListening() && shared_->progress.isListening())
            return limits_.isTooShortToListen() ? End::tooShort : End::stillListening;
    }
}

/// Waits a little for news. True once the search is over.
bool CameraSearch::handOver(const Found& found) {
    std::vector<CameraTemplatePointer> fresh;
    std::exception_ptr failure;
    bool isOver = false;
    {
        std::unique_lock lock(shared_->mutex);
        shared_->news.wait_for(lock, lookInterval,
                               [this] { return shared_->isOver || !shared_->found.empty(); });
        fresh.swap(shared_->found);
        failure = std::exchange(shared_->failure, nullptr);
        isOver = shared_->isOver;
    }
    for (CameraTemplatePointer& camera : fresh)
        found(std::move(camera));
    if (failure != nullptr)
        std::rethrow_exception(failure);
    return isOver;
}

std::chrono::milliseconds CameraSearch::elapsed() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin_);
}

SearchProgress CameraSearch::progress() const {
    const std::lock_guard lock(shared_->mutex);
    SearchProgress progress = shared_->progress;
    if (shared_->isOver)
        progress.takeAll(shared_->lines);
    return progress;
}

std::size_t CameraSearch::unasked() const {
    const std::lock_guard lock(shared_->mutex);
    return shared_->progress.unasked();
}

std::vector<std::string> CameraSearch::addresses() const {
    const std::lock_guard lock(shared_->mutex);
    return shared_->progress.addresses();
}

void leaveThreadBehind() noexcept {
    threadLeftBehind = true;
}

bool isThreadLeftBehind() noexcept {
    return threadLeftBehind;
}

} // namespace Console
