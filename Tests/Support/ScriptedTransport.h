#pragma once
// The host's TCP transport as tests want it.
//
// The objects ScriptedTransport define PosixEthernetCommunicator's members and ClientFactory's functions; in
// a test program that links them they stand in for the reference host's. One thread.

#include "Communicator/Communicator.h"
#include "Support/ScriptedCommunicator.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>
#include <xercesc/dom/DOMNode.hpp>

namespace TestSupport {

/// What every communicator answers with, and what was asked of them. A test makes one, which is in force for
/// its lifetime; communicators may be destroyed after it. A communicator that no Connector holds connected
/// throws DeviceException from reads and writes.
class ScriptedTransport {
public:
    ScriptedTransport();
    ScriptedTransport(const ScriptedTransport&) = delete;
    ScriptedTransport& operator=(const ScriptedTransport&) = delete;
    ~ScriptedTransport();

    static ScriptedTransport& current();
    static bool isInForce();

    // The script.

    /// What answers at that port of that address. Connections made one after the other go on with the same
    /// script. Asked for before the first of them is opened.
    ScriptedCommunicator& at(const std::wstring& address, int port);
    /// What answers at that port of every address that has no script of its own for it.
    ScriptedCommunicator& atPort(int port) { return at({}, port); }
    /// `line` answers at that port of that address, instead of a script.
    void answerWith(const std::wstring& address, int port, std::shared_ptr<Communicator> line);

    /// What ClientFactory::buildCommunicator does; where it is empty, makes a communicator of builtAddress,
    /// builtPort and -1.
    std::function<Communicator*(xercesc::DOMNode*)> onBuild;
    std::wstring builtAddress = L"192.168.10.27";
    int builtPort = 32769;

    /// Called with each line before it goes into the log. May throw, as the operation's failure, except at
    /// "disconnect" and "destroy".
    std::function<void(const std::string&)> onCall;

    // What happened.

    /// All operations in order, one line each:
    ///   "create ADDRESS:PORT TIMEOUT"     ClientFactory::createEthernetCommunicator
    ///   "build"                           ClientFactory::buildCommunicator
    ///   "construct ADDRESS:PORT TIMEOUT"
    ///   "connect ADDRESS:PORT"
    ///   "write ADDRESS:PORT WHAT DISCARD RESERVED"   WHAT: the printable text in quotes, else "N bytes"
    ///   "read ADDRESS:PORT COUNT RESERVED TIMEOUT"
    ///   "disconnect ADDRESS:PORT"         of a connected one
    ///   "destroy ADDRESS:PORT"
    const std::vector<std::string>& calls() const { return calls_; }
    /// The lines that begin with `word`.
    std::vector<std::string> calls(const std::string& word) const;
    /// The number of communicators that were constructed and not destroyed.
    int alive() const { return alive_; }

    /// Adds a line to the log, so that other scripted operations stand in the same order.
    void note(const std::string& line);

private:
    friend struct TransportRecorder;
    using Script = std::shared_ptr<ScriptedCommunicator>;
    std::map<std::pair<std::wstring, int>, Script> scripts_;
    std::map<std::pair<std::wstring, int>, std::shared_ptr<Communicator>> lines_;
    std::vector<std::string> calls_;
    int alive_ = 0;
};

/// The next text that is written to `camera` is answered with `text`, without a terminator.
void answerText(ScriptedCommunicator& camera, const std::string& text);

} // namespace TestSupport
