#pragma once
// One operation of the plug-in in a world, and what comes of it where a call fails.

#include "Allocations.h"

#include "Communicator/DeviceException.h"
#include "Platform/Text.h"
#include "ReferenceHost/HostControl.h"
#include "Support/LogCapture.h"
#include "Support/TemporaryFolder.h"
#include "World/Stage.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace Torture {

/// A call that the plug-in makes: the `occurrence`-th of that name ("fopen", "send 10.0.0.5:32769").
struct Call {
    std::string name;
    int occurrence = 1;
};
inline std::ostream& operator<<(std::ostream& stream, const Call& call) {
    return stream << call.name << " #" << call.occurrence;
}

/// "send 10.0.0.5:32769" of "send 10.0.0.5:32769 37 bytes": each place is a kind of calls of its own.
inline std::string nameOfLine(const std::string& line) {
    const std::size_t first = line.find(' ');
    const std::size_t second = line.find(' ', first + 1);
    const bool namesPlace = line.find(':', first) < second && !line.starts_with("fopen");
    return line.substr(0, namesPlace ? second : first);
}

/// The stage of one operation: run() as often as wanted, on the same objects.
class Scene {
public:
    Scene() { ReferenceHost::setImagesSubDirectory(folder.path().wstring()); }
    virtual ~Scene() {
        world.network.openSockets.clear(); // residue() has told of them
    }

    /// Sets up what the camera and the network answer and calls the plug-in, of whose calls that one ends
    /// with `failure`. What came of it: "good", or another short text; "throws ..." where an exception came
    /// out.
    std::string run(const Call& failing = {}, const World::Calls::Failure& failure = 0) {
        prepare();
        world.calls.clear();
        if (!failing.name.empty())
            world.calls.fail(failing.name, failure, failing.occurrence);
        try {
            return operate();
        } catch (const DeviceException& exception) {
            const std::string message = Platform::utf8FromWide(exception.getMessage());
            const bool isTheHosts = message == "torture" || message.starts_with("10.0.0.5:");
            return "throws DeviceException" + (isTheHosts ? "" : ": " + message);
        } catch (const TolvaneException&) {
            return "throws TolvaneException";
        } catch (const std::bad_alloc&) {
            return "throws bad_alloc";
        } catch (const std::exception& exception) {
            return std::string("throws ") + exception.what();
        } catch (...) {
            return "throws something";
        }
    }

    /// True where the last run came to the failing call.
    bool wasReached() const { return wasReached_; }
    /// What the plug-in called in the last run, and may fail.
    const std::vector<Call>& made() const { return made_; }

    /// What is open or alive and should not be; empty where there is nothing.
    std::string residue() const {
        std::string text;
        const auto count = [&text](const char* what, std::size_t number) {
            if (number != 0)
                text += std::string(what) + ": " + std::to_string(number) + " ";
        };
        count("communicators", world.communicators.size() - static_cast<std::size_t>(ownCommunicators));
        count("connections", world.network.openConnections().size());
        count("images", world.imaging.alive.size());
        count("sockets", world.network.openSockets.size());
        count("startups", static_cast<std::size_t>(world.network.startups));
        count("files", static_cast<std::size_t>(world.system.openFiles));
        return text;
    }

    /// True where a line at warn or above was logged.
    bool complained() const {
        return std::ranges::any_of(log_.lines(), [](const TestSupport::LogLine& line) {
            return line.level == "WARN" || line.level == "ERROR";
        });
    }

protected:
    virtual void prepare() = 0;
    /// Calls the plug-in by way of plugin(), once, and says what came of it.
    virtual std::string operate() = 0;

    template <class Work>
    decltype(auto) plugin(const Work& work) {
        const Stocktaking afterwards{*this};
        const TestSupport::PluginAtWork scope;
        return work();
    }

    /// The communicators that are the scene's own; residue() does not count them.
    int ownCommunicators = 0;

    TestSupport::TemporaryFolder folder;
    World::Stage world;

private:
    struct Stocktaking {
        Scene& scene;
        ~Stocktaking() { scene.takeStock(); }
    };
    void takeStock() {
        wasReached_ = !world.calls.isToFail();
        world.calls.failNoMore();
        made_.clear();
        std::map<std::string, int> occurrences;
        for (const std::string& line : world.calls.lines()) {
            const std::string name = nameOfLine(line);
            // What is taken down cannot fail.
            if (!name.starts_with("close ") && !name.starts_with("delete "))
                made_.push_back({name, ++occurrences[name]});
        }
    }

    TestSupport::LogCapture log_{"Plenar.KorvaCamera"};
    std::vector<Call> made_;
    bool wasReached_ = false;
};

struct Operation {
    std::string name; ///< in tables and figures
    std::function<std::unique_ptr<Scene>()> make;
    /// What comes of it where one piece of memory is denied. All of them come.
    std::set<std::string> withoutMemory;
    /// True where a line at warn or above tells of each of these that is not good.
    bool complains = false;
};

std::vector<Operation> operations();
inline void PrintTo(const Operation& operation, std::ostream* stream) {
    *stream << operation.name;
}

} // namespace Torture
