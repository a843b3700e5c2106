#pragma once
// One operation of the plug-in in a world, and what comes of it where a call fails.

#include "Allocations.h"

#include "Support/LogCapture.h"
#include "Support/TemporaryFolder.h"
#include "World/Stage.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

class CameraInfo;

namespace Torture {

/// A call that the plug-in makes: the `occurrence`-th of that name ("fopen", "send 10.0.0.5:32769").
struct Call {
    std::string name;
    int occurrence = 1;
};
std::ostream& operator<<(std::ostream& stream, const Call& call);

/// The stage of one operation: run() as often as wanted, on the same objects.
class Scene {
public:
    Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;
    virtual ~Scene();

    /// Sets up what the camera and the network answer and calls the plug-in, of whose calls that one ends
    /// with `failure`. What came of it: "good", or another short text; "throws ..." where an exception came
    /// out.
    std::string run(const Call& failing = {}, const World::Calls::Failure& failure = 0);

    /// True where the last run came to the failing call.
    bool wasReached() const { return wasReached_; }
    /// What the plug-in called in the last run, and may fail.
    const std::vector<Call>& made() const { return made_; }

    /// What is open or alive and should not be; empty where there is nothing.
    std::string residue() const;

    /// True where a line at warn or above was logged since the last run began.
    bool complained() const;

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

    /// What answers at that port of 10.0.0.`host`, without what was left there.
    World::Peer& freshCamera(int host, int port);
    /// The camera 10.0.0.`host` answers its three text queries, as K-`host`.
    void answerIdentification(int host, const std::string& hardwareId);
    /// The camera 10.0.0.`host` takes a grey picture of 6 x 5.
    void answerGrab(int host);

    /// The communicators that are the scene's own; residue() does not count them.
    int ownCommunicators = 0;

    TestSupport::TemporaryFolder folder;
    World::Stage world;

private:
    struct Stocktaking {
        Scene& scene;
        ~Stocktaking() { scene.takeStock(); }
    };
    void takeStock();

    std::deque<TestSupport::LogCapture> logs_;
    std::vector<std::size_t> linesBefore_;
    std::vector<Call> made_;
    bool wasReached_ = false;
};

/// All that a description says, in one line.
std::string textOf(const CameraInfo& info);

/// An operation by its name in the tables.
struct Operation {
    std::string name;
    std::function<std::unique_ptr<Scene>()> make;
};

/// An operation whose scene is a `Type` made of `arguments`.
template <class Type, class... Arguments>
Operation operationOf(const char* name, Arguments... arguments) {
    return {name, [arguments...] { return std::make_unique<Type>(arguments...); }};
}

/// Search, identification, and the three ways to build a device.
std::vector<Operation> findingOperations();
/// What is done with a camera's pictures and connection.
std::vector<Operation> pictureOperations();
/// All of them.
std::vector<Operation> operations();
void PrintTo(const Operation& operation, std::ostream* stream);

/// The operation's name for a test's parameter.
std::string nameOf(std::string operation);

} // namespace Torture
