#pragma once
// One operation of the plug-in between a scripted host, transport and platform, and what comes of it.

#include "Allocations.h"

#include "Support/LogCapture.h"
#include "Support/ScriptedHost.h"
#include "Support/ScriptedTransport.h"
#include "Support/TemporaryFolder.h"
#include "World/Calls.h"
#include "World/Network.h"
#include "World/System.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <vector>

class CameraInfo;

namespace Torture {

/// What the host throws.
enum class Thrown { deviceException, tolvaneException, badAlloc, number };
inline constexpr Thrown everythingThrown[] = {Thrown::deviceException, Thrown::tolvaneException,
                                              Thrown::badAlloc, Thrown::number};

/// One call that the plug-in makes: the `occurrence`-th of that name.
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

    /// Sets up what the camera and the network answer and calls the plug-in. What came of it: "good", or
    /// another short text; "throws ..." where an exception came out.
    std::string run();

    /// What is open or alive and should not be; empty where there is nothing.
    std::string residue() const;

    /// True where a line at warn or above was logged since the last run began.
    bool complained() const;

    // Failures, each once, from now on.
    void failPlatform(const Call& call);
    void failHost(const Call& call, Thrown thrown);

    /// What the plug-in has called so far.
    std::vector<Call> platformCalls() const;
    std::vector<Call> hostCalls() const;

    /// Called by whatever stands for the host. Counts what the plug-in calls, and throws where that was
    /// planned.
    void hostCall(const std::string& name);

    /// The scene that exists.
    static Scene* current();

protected:
    virtual void prepare() = 0;
    /// Calls the plug-in by way of plugin() and says what came of it.
    virtual std::string operate() = 0;

    template <class Work>
    static decltype(auto) plugin(const Work& work) {
        const PluginAtWork scope;
        return work();
    }

    /// What answers at that port of 10.0.0.`host`, without what was left there.
    TestSupport::ScriptedCommunicator& freshCamera(int host, int port);
    /// The camera 10.0.0.`host` answers its three text queries, as K-`host`.
    void answerIdentification(int host, const std::string& hardwareId);
    /// The camera 10.0.0.`host` takes a grey picture of 6 x 5.
    void answerGrab(int host);

    /// The communicators that are the scene's own; residue() does not count them.
    int ownCommunicators = 0;

    TestSupport::TemporaryFolder folder;
    TestSupport::ScriptedHost host;
    TestSupport::ScriptedTransport transport;
    World::Network& network = World::Network::current();

private:
    std::deque<TestSupport::LogCapture> logs_;
    std::vector<std::size_t> linesBefore_;
    std::map<std::string, int> hostOccurrences_;
    Call failingHostCall_{"", 0};
    Thrown thrown_ = Thrown::number;
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

/// The calls of one kind that an undisturbed run makes. Throws std::logic_error where that does not go well.
std::vector<Call> callsOf(const Operation& operation, std::vector<Call> (Scene::*kind)() const);

/// Search, identification, and the three ways to build a device.
std::vector<Operation> findingOperations();
/// What is done with a camera's pictures and connection.
std::vector<Operation> pictureOperations();
/// All of them.
std::vector<Operation> operations();
void PrintTo(const Operation& operation, std::ostream* stream);

/// The operation's name for a test's parameter.
std::string nameOf(const std::string& operation);

} // namespace Torture
