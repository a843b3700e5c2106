#include "DeveloperDLL/DeveloperSettings.h"

#include "Platform/Text.h"
#include "ReferenceHost/HostControl.h"

#include <mutex>

namespace {

/// The settings of the process, by name.
class Store {
public:
    void create(const std::string& name, const char* defaultText) {
        const std::scoped_lock lock(mutex_);
        texts_.try_emplace(name, defaultText);
    }

    void set(const std::string& name, const std::string& text) {
        const std::scoped_lock lock(mutex_);
        texts_[name] = text;
    }

    std::string textOf(const std::string& name) const {
        const std::scoped_lock lock(mutex_);
        return texts_.at(name);
    }

    std::map<std::string, std::string> all() const {
        const std::scoped_lock lock(mutex_);
        return texts_;
    }

private:
    mutable std::mutex mutex_;
    std::map<std::string, std::string> texts_;
};

// Made on first use: plug-ins construct settings while they are loaded.
Store& store() {
    static Store instance;
    return instance;
}

} // namespace

namespace DeveloperSettings {

Boolean::Boolean(const char* name) : name_(name) {
    store().create(name_, "false");
}

bool Boolean::value() const {
    const std::string text = store().textOf(name_);
    return text == "true" || text == "1";
}

String::String(const char* name) : name_(name) {
    store().create(name_, "");
}

std::string String::value() const {
    return store().textOf(name_);
}

WString::WString(const char* name) : name_(name) {
    store().create(name_, "");
}

std::wstring WString::value() const {
    return Platform::wideFromUtf8(store().textOf(name_));
}

} // namespace DeveloperSettings

void ReferenceHost::setDeveloperSetting(const std::string& name, const std::string& value) {
    store().set(name, value);
}

std::map<std::string, std::string> ReferenceHost::developerSettings() {
    return store().all();
}
