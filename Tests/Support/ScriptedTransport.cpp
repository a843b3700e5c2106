#include "Support/ScriptedTransport.h"

#include "Communicator/ClientFactory.h"
#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "Platform/Text.h"
#include "Support/OutsidePlugin.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <utility>

namespace TestSupport {
namespace {

ScriptedTransport* inForce = nullptr;

std::string describe(const void* data, unsigned int count) {
    const auto* const bytes = static_cast<const char*>(data);
    const std::string text(bytes, bytes + count);
    const bool isPrintable =
        std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
    return isPrintable ? '"' + text + '"' : std::to_string(count) + " bytes";
}

} // namespace

struct TransportRecorder {
    static void countAlive(int change) { ScriptedTransport::current().alive_ += change; }

    static std::shared_ptr<Communicator> scriptOf(const std::wstring& address, int port) {
        ScriptedTransport& transport = ScriptedTransport::current();
        if (const auto line = transport.lines_.find({address, port}); line != transport.lines_.end())
            return line->second;
        const auto found = transport.scripts_.find({address, port});
        if (found != transport.scripts_.end())
            return found->second;
        transport.atPort(port);
        return transport.scripts_[{{}, port}];
    }
};

ScriptedTransport::ScriptedTransport() {
    inForce = this;
}

ScriptedTransport::~ScriptedTransport() {
    inForce = nullptr;
}

ScriptedTransport& ScriptedTransport::current() {
    if (inForce == nullptr)
        throw std::logic_error("no ScriptedTransport is in force");
    return *inForce;
}

bool ScriptedTransport::isInForce() {
    return inForce != nullptr;
}

ScriptedCommunicator& ScriptedTransport::at(const std::wstring& address, int port) {
    Script& script = scripts_[{address, port}];
    if (script == nullptr)
        script = std::make_shared<ScriptedCommunicator>();
    return *script;
}

void ScriptedTransport::answerWith(const std::wstring& address, int port,
                                   std::shared_ptr<Communicator> line) {
    lines_[{address, port}] = std::move(line);
}

std::vector<std::string> ScriptedTransport::calls(const std::string& word) const {
    std::vector<std::string> found;
    std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(found),
                 [&word](const std::string& line) { return line.starts_with(word); });
    return found;
}

void ScriptedTransport::note(const std::string& line) {
    if (onCall)
        onCall(line);
    calls_.push_back(line);
}

void answerText(ScriptedCommunicator& camera, const std::string& text) {
    camera.afterNextWrite().deliver(Bytes(text.begin(), text.end()));
}

} // namespace TestSupport

/// For the address sanitizer: that the communicator's class is defined here and in the reference host is the
/// purpose of these objects.
extern "C" const char* __asan_default_options() {
    return "detect_odr_violation=0";
}

using TestSupport::OutsidePlugin;
using TestSupport::ScriptedTransport;
using TestSupport::TransportRecorder;

struct PosixEthernetCommunicator::State {
    std::wstring address;
    int port = 0;
    std::shared_ptr<Communicator> script;  ///< from the first connect on
    std::unique_ptr<Connector> connection; ///< holds the script connected

    std::string place() const { return Platform::utf8FromWide(address) + ":" + std::to_string(port); }

    Communicator& connectedScript() const {
        if (connection == nullptr)
            throw DeviceException(L"not connected");
        return *script;
    }

    static void note(const std::string& line) { ScriptedTransport::current().note(line); }
};

PosixEthernetCommunicator::PosixEthernetCommunicator(const std::wstring& address, int port,
                                                     int connectTimeoutMs)
    : EthernetCommunicator(connectTimeoutMs), state_(std::make_unique<State>()) {
    const OutsidePlugin outside;
    state_->address = address;
    state_->port = port;
    State::note("construct " + state_->place() + " " + std::to_string(connectTimeoutMs));
    TransportRecorder::countAlive(1);
}

PosixEthernetCommunicator::~PosixEthernetCommunicator() {
    const OutsidePlugin outside;
    if (!ScriptedTransport::isInForce())
        return;
    State::note("destroy " + state_->place());
    TransportRecorder::countAlive(-1);
}

std::wstring PosixEthernetCommunicator::getAddress() const {
    return state_->address;
}

int PosixEthernetCommunicator::getPort() const {
    return state_->port;
}

void PosixEthernetCommunicator::writeBytes(const void* data, unsigned int count, bool discardUnread,
                                           int reserved) {
    const OutsidePlugin outside;
    State::note("write " + state_->place() + " " + TestSupport::describe(data, count) +
                (discardUnread ? " true " : " false ") + std::to_string(reserved));
    state_->connectedScript().writeBytes(data, count, discardUnread, reserved);
}

int PosixEthernetCommunicator::readBytes(void* data, unsigned int count, int reserved,
                                         unsigned int timeoutMs) {
    const OutsidePlugin outside;
    State::note("read " + state_->place() + " " + std::to_string(count) + " " + std::to_string(reserved) +
                " " + std::to_string(timeoutMs));
    return state_->connectedScript().readBytes(data, count, reserved, timeoutMs);
}

bool PosixEthernetCommunicator::isConnected() const {
    return state_->connection != nullptr && state_->script->isConnected();
}

void PosixEthernetCommunicator::setProgressObserver(ProgressObserver) {}

void PosixEthernetCommunicator::connect() {
    const OutsidePlugin outside;
    State::note("connect " + state_->place());
    if (state_->script == nullptr)
        state_->script = TransportRecorder::scriptOf(state_->address, state_->port);
    state_->connection = std::make_unique<Connector>(*state_->script);
}

void PosixEthernetCommunicator::disconnect() noexcept {
    const OutsidePlugin outside;
    if (state_->connection == nullptr)
        return;
    state_->connection.reset();
    if (ScriptedTransport::isInForce())
        State::note("disconnect " + state_->place());
}

EthernetCommunicator* ClientFactory::createEthernetCommunicator(const std::wstring& address, int port,
                                                                int timeoutMs) {
    const OutsidePlugin outside;
    ScriptedTransport::current().note("create " + Platform::utf8FromWide(address) + ":" +
                                      std::to_string(port) + " " + std::to_string(timeoutMs));
    return new PosixEthernetCommunicator(address, port, timeoutMs);
}

Communicator* ClientFactory::buildCommunicator(xercesc::DOMNode* element) {
    const OutsidePlugin outside;
    ScriptedTransport& transport = ScriptedTransport::current();
    transport.note("build");
    if (transport.onBuild)
        return transport.onBuild(element);
    return new PosixEthernetCommunicator(transport.builtAddress, transport.builtPort, -1);
}
