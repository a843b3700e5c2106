#include "CaptureRun.h"

#include "CameraSearch.h"
#include "CommandFailure.h"
#include "CommandRun.h"
#include "PictureFile.h"

#include "Diagnosis/PictureRules.h"
#include "Diagnosis/Print.h"
#include "Look/NetworkLook.h"
#include "Platform/StandardError.h"
#include "Platform/Terminal.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <optional>
#include <system_error>
#include <utility>

namespace Console {

namespace {

using Clock = std::chrono::steady_clock;
using Diagnosis::Obstacle;

/// How often Ctrl-C is looked at.
constexpr auto waitInterval = std::chrono::milliseconds(50);

/// What the threads have after Ctrl-C: a read notices it within 100 ms, a connect does not.
constexpr auto graceOfThreads = std::chrono::milliseconds(300);

} // namespace

CaptureRun::CaptureRun(const CaptureOptions& options, const CommonOptions& common)
    : options_(options), bar_(Platform::standardError()), log_(common.log, &bar_),
      host_(options.camera, log_), sheet_(options.contactSheet) {
    prepareDumps(common);
}

/// Whoever names a folder for dumps wants some.
void CaptureRun::prepareDumps(const CommonOptions& common) {
    const bool isAskedFor = !common.diagnosticsFolder.empty();
    if (isAskedFor && !log_.dumpPictures())
        warn(Diagnosis::verdictOn({.what = Obstacle::dumpsAreSetUp, .place = common.diagnosticsFolder}));
    if (ToolLog::isDumpingPictures())
        host_.nameDumps();
}

CaptureRun::~CaptureRun() {
    endThreads();
    for (std::thread& thread : threads_)
        if (thread.joinable())
            thread.join();
}

void CaptureRun::endThreads() {
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
    news_.notify_all();
}

void CaptureRun::leave() noexcept {
    try {
        endThreads();
        host_.nameOtherDumps();
        log_.close();
    } catch (const std::exception&) {
        // For want of memory: what was to be said has been said.
    }
}

CaptureReport CaptureRun::report() {
    CaptureReport report;
    report.results = results_;
    report.sort();
    const std::lock_guard lock(mutex_);
    report.warnings = warnings_;
    report.searchTrouble = targets_.searchTrouble;
    report.lostDumps = lostDumps_;
    return report;
}

void CaptureRun::takeAll() {
    checkFiles();
    if (!options_.contactSheet.empty())
        names_.reserve(options_.contactSheet);
    if (options_.camera.all)
        bar_.show("searching...");
    try {
        targets_ = findTargets(options_, host_);
    } catch (...) {
        bar_.erase();
        throw;
    }
    bar_.erase();
    for (const Diagnosis::Verdict& warning : targets_.warnings)
        warn(warning);
    wanted_ = (targets_.cameras.size() + targets_.unusable.size()) *
              static_cast<std::size_t>(options_.picturesOfEach());
    noteLongExposures();
    for (const Diagnosis::Verdict& verdict : targets_.unusable) {
        FinishedPicture none;
        none.result.address = verdict.address;
        none.result.room = verdict.room;
        none.result.exposureUnits = options_.exposures.front();
        none.result.error = verdict;
        record(std::move(none));
    }
    lookAtComputer(computer_);
    startThreads();
    warnOfTwins();
    dealWithAll();
    bar_.erase();
    if (sheet_.left() > 0)
        warn(Diagnosis::verdictOn(
            {.what = Obstacle::sheetIsFull, .bytes = sheet_.left(), .wanted = ContactSheet::mostPictures}));
    const std::lock_guard lock(mutex_);
    if (failure_ != nullptr)
        std::rethrow_exception(failure_);
}

/// Before any camera is asked anything, as far as names are known then.
void CaptureRun::checkFiles() const {
    const OlderFile older = options_.keepsFiles ? OlderFile::keep : OlderFile::replace;
    const bool isFolder = isFolderOfPictures(options_);
    if (isFolder)
        makeFolder(options_.output); // where the sheet may go too
    sheet_.check(older);
    if (options_.isToStandardOutput() || isPattern(options_.output))
        return;
    const auto addresses = options_.camera.eachAddress();
    if (options_.isOfSeveralCameras() || (addresses.empty() && (isFolder || options_.output.empty())))
        return;
    NameParts parts;
    parts.address = addresses.empty() ? "" : addresses.front();
    checkWritable(pictureFileName(options_, parts), older);
}

/// Before the first picture, of which the longest is the one to fail.
void CaptureRun::noteLongExposures() {
    const int longest = *std::max_element(options_.exposures.begin(), options_.exposures.end());
    const TimeLimits::Time most = options_.camera.limits.ofPicture(longest);
    if (const auto note = Diagnosis::verdictOnExposure(longest))
        warn(*note);
    if (most <= most.zero())
        return;
    if (const auto note = Diagnosis::verdictOnTime(longest, most))
        warn(*note);
}

/// Of addresses that were given; which of the cameras is photographed is chance.
void CaptureRun::warnOfTwins() {
    const auto addresses = options_.camera.eachAddress();
    if (addresses.empty())
        return;
    const Twins twins = lookForTwins(addresses, TwinLook::byArp);
    for (const auto& twin : twins)
        warn(twin.second);
}

void CaptureRun::startThreads() {
    for (const CaptureTarget& target : targets_.cameras)
        waiting_.push_back(&target);
    const std::size_t count = std::min(waiting_.size(), static_cast<std::size_t>(options_.jobs));
    threads_.reserve(count);
    const std::lock_guard lock(mutex_);
    try {
        for (; threads_.size() < count; ++threadsAtWork_)
            threads_.emplace_back([this] { work(); });
    } catch (const std::system_error&) {
        if (threads_.empty())
            throw; // else those that there are do the others' work
    }
}

void CaptureRun::work() {
    Platform::leaveSignalsToOthers();
    log_.beginThread();
    try {
        workThrough();
    } catch (...) {
        noteFailure();
    }
    const std::lock_guard lock(mutex_);
    --threadsAtWork_;
    news_.notify_all();
}

/// Of what is being caught: the first is told at the end.
void CaptureRun::noteFailure() {
    const std::lock_guard lock(mutex_);
    if (failure_ == nullptr)
        failure_ = std::current_exception();
}

void CaptureRun::workThrough() {
    const bool isAlone = targets_.cameras.size() == 1;
    while (const CaptureTarget* const target = nextTarget()) {
        const std::string place = placeOf(*target);
        if (!claim(place))
            return;
        try {
            ProgressBar counter(nullptr); // each camera's pictures are counted by themselves
            CameraJob(*target, {options_, log_, isAlone ? bar_ : counter, gate_, *this, computer_}).run();
        } catch (...) {
            noteFailure();
        }
        const std::lock_guard lock(mutex_);
        addressesAtWork_.erase(place);
        news_.notify_all();
    }
}

/// The next, rather one whose address no other thread is at work with: of two cameras of one address, only
/// one answers at a time.
const CaptureTarget* CaptureRun::nextTarget() {
    std::unique_lock lock(mutex_);
    while (!waiting_.empty() && !isStopped_ && !Platform::interrupted()) {
        const auto next = std::find_if(waiting_.begin(), waiting_.end(), [this](const CaptureTarget* each) {
            return !addressesAtWork_.contains(each->address);
        });
        if (next != waiting_.end()) {
            const CaptureTarget* const target = *next;
            waiting_.erase(next);
            return target;
        }
        news_.wait_for(lock, waitInterval);
    }
    return nullptr;
}

/// One camera may be given by its name and by its address.
std::string CaptureRun::placeOf(const CaptureTarget& target) {
    const std::string ipv4 = target.address.empty() ? "" : Diagnosis::addressBehind(target.address);
    return ipv4.empty() ? target.address : ipv4;
}

/// Waits until nobody is at work there. False where that is of no use any more.
bool CaptureRun::claim(const std::string& place) {
    std::unique_lock lock(mutex_);
    while (addressesAtWork_.contains(place)) {
        if (isStopped_ || Platform::interrupted())
            return false;
        news_.wait_for(lock, waitInterval);
    }
    addressesAtWork_.insert(place);
    return true;
}

void CaptureRun::take(FinishedPicture finished) {
    std::unique_lock lock(mutex_);
    const auto most = static_cast<std::size_t>(options_.jobs);
    while (finished_.size() >= most && !isStopped_ && !Platform::interrupted())
        news_.wait_for(lock, waitInterval);
    if (isStopped_)
        throw Interrupted(); // nobody will deal with it
    finished_.push_back(std::move(finished));
    news_.notify_all();
}

void CaptureRun::warn(const Diagnosis::Verdict& verdict) {
    const std::lock_guard lock(mutex_);
    if (isStopped_)
        return;
    bar_.erase();
    Console::warn(verdict);
    warnings_.push_back(Diagnosis::lineOf(verdict));
}

std::string CaptureRun::unusedName(const std::string& name) {
    const std::lock_guard lock(mutex_);
    return names_.unused(name);
}

void CaptureRun::claimDumps(const std::string& address) {
    host_.claimDumps(address);
    for (Diagnosis::Verdict& lost : host_.takeDumpFailures()) {
        const std::lock_guard lock(mutex_);
        if (isStopped_)
            return;
        bar_.erase();
        complain(lost);
        warnings_.push_back(Diagnosis::lineOf(lost));
        lostDumps_.push_back(std::move(lost));
    }
}

void CaptureRun::dealWithAll() {
    std::optional<Clock::time_point> interruptedAt;
    while (dealWithNext()) {
        if (!Platform::interrupted())
            continue;
        if (!interruptedAt)
            interruptedAt = Clock::now();
        if (Clock::now() - *interruptedAt > graceOfThreads)
            return leaveThreads();
    }
}

/// Waits a little for what is finished. False once all is done.
bool CaptureRun::dealWithNext() {
    FinishedPicture next;
    {
        std::unique_lock lock(mutex_);
        if (finished_.empty() && threadsAtWork_ == 0)
            return false;
        if (finished_.empty())
            news_.wait_for(lock, waitInterval);
        if (finished_.empty()) {
            lock.unlock();
            if (wanted_ > 1 && targets_.cameras.size() > 1)
                bar_.show(std::to_string(results_.size()) + " of " + std::to_string(wanted_));
            return true;
        }
        next = std::move(finished_.front());
        finished_.pop_front();
        news_.notify_all();
    }
    record(std::move(next));
    return true;
}

/// Writes it, says it, and keeps it for the report and the sheet.
void CaptureRun::record(FinishedPicture finished) {
    const auto twin = targets_.twins.find(finished.result.address);
    if (twin != targets_.twins.end() && !finished.result.error)
        finished.result.verdict = twin->second; // above all, whose picture it is
    write(finished);
    sayResult(finished.result);
    results_.push_back(finished.result);
    sheet_.add(std::move(finished));
}

void CaptureRun::write(FinishedPicture& finished) const {
    if (finished.result.error)
        return;
    try {
        if (options_.isToStandardOutput())
            std::fwrite(finished.png.data(), 1, finished.png.size(), stdout);
        else
            writeWholeFile(finished.result.file, finished.png);
    } catch (const PictureFileError& error) {
        finished.result.error = verdictFrom(error);
        finished.result.file.clear();
    }
}

void CaptureRun::sayResult(const CaptureResult& result) {
    bar_.erase();
    if (result.error) {
        Diagnosis::Verdict verdict = *result.error;
        if (verdict.address.empty())
            verdict.address = result.address;
        verdict.room = result.room;
        if (options_.exposures.size() > 1 && result.milliseconds > 0.0)
            verdict = Diagnosis::atExposure(std::move(verdict), result.exposureUnits);
        complain(verdict);
    } else if (!options_.json && !options_.isToStandardOutput()) {
        say(pictureLine(options_, result));
    } else if (result.verdict && options_.isToStandardOutput()) {
        Diagnosis::Verdict verdict = *result.verdict;
        verdict.address = result.address;
        verdict.room = result.room;
        warn(verdict);
    }
}

void CaptureRun::leaveThreads() {
    const std::lock_guard lock(mutex_);
    if (threadsAtWork_ == 0)
        return;
    leaveThreadBehind();
    isStopped_ = true;
    for (std::thread& thread : threads_)
        thread.detach();
}

void CaptureRun::writeSheet() {
    const bool isAnyTaken = report().pictures() > 0;
    sheet_.write(results_, isAnyTaken ? ExitStatus::partlyFailed : ExitStatus::failed);
}

} // namespace Console
