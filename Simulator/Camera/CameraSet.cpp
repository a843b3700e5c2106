#include "Camera/CameraSet.h"

#include "Camera/Ipv4.h"
#include "Camera/SettingTable.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <system_error>

namespace Simulator {

namespace {

using Json = nlohmann::json;
namespace fs = std::filesystem;

constexpr std::size_t longestFile = std::size_t{1} << 20;
constexpr std::size_t mostFaults = 256;

/// What is wrong with one value; who reads it knows where it stands.
class WrongValue : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::string textOf(const Json& value) {
    if (!value.is_string())
        throw WrongValue("a text is due, in quotation marks");
    const auto& text = value.get_ref<const std::string&>();
    if (text.size() > CameraSettings::longestText)
        throw WrongValue("the text has more than " + std::to_string(CameraSettings::longestText) + " bytes");
    return text;
}

std::uint64_t numberOf(const Json& value, std::uint64_t most) {
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() > most)
        throw WrongValue("a whole number from 0 to " + std::to_string(most) + " is due");
    return value.get<std::uint64_t>();
}

bool flagOf(const Json& value) {
    if (!value.is_boolean())
        throw WrongValue("true or false is due");
    return value.get<bool>();
}

std::string textOf(const Json& value, TextKind kind) {
    std::string text = textOf(value);
    const bool isAddress = kind == TextKind::servedAddress || kind == TextKind::address;
    if (isAddress && !ipv4FromText(text))
        throw WrongValue("\"" + text + "\" is no IPv4 address such as 10.77.1.11");
    if (kind == TextKind::protocol && text != "static" && text != "DHCP")
        throw WrongValue("\"" + text + "\" is neither static nor DHCP");
    return text;
}

void applyEach(Apply<const std::string&> apply, CameraEntry& entry, const Json& value) {
    if (!value.is_array() || value.size() > mostFaults)
        throw WrongValue("an array of at most " + std::to_string(mostFaults) + " texts is due");
    for (const Json& each : value)
        apply(entry, textOf(each));
}

/// Applies a value from a file, as each kind of it stands there.
struct ValueReader {
    CameraEntry& entry;
    const Json& value;
    TextKind kind;

    void operator()(Apply<const std::string&> apply) const {
        if (kind == TextKind::repeated)
            return applyEach(apply, entry, value);
        apply(entry, textOf(value, kind));
    }
    void operator()(Apply<bool> apply) const { apply(entry, flagOf(value)); }

    template <typename Number>
    void operator()(Apply<Number> apply) const {
        apply(entry, static_cast<Number>(numberOf(value, std::numeric_limits<Number>::max())));
    }
};

std::string knownKeys() {
    std::vector<std::string_view> keys;
    std::ranges::transform(settingTable(), std::back_inserter(keys), &Setting::key);
    std::ranges::sort(keys);
    std::string names;
    for (const std::string_view key : keys)
        names += (names.empty() ? "" : ", ") + std::string(key);
    return names;
}

/// Whoever wrote a set need not be whoever serves it: it reaches no picture but those beside it.
void keepBeside(const std::string& file, Scene& scene) {
    std::error_code failure;
    const fs::path folder = fs::canonical(fs::absolute(file).parent_path(), failure);
    const fs::path path = failure ? fs::path() : fs::canonical(folder / scene.path, failure);
    if (failure)
        throw WrongValue("cannot read the picture " + scene.path + ": " + failure.message());
    if (std::ranges::mismatch(folder, path).in1 != folder.end())
        throw WrongValue("the picture " + scene.path + " is neither in the folder of this file nor below it");
    if (!fs::is_regular_file(path, failure))
        throw WrongValue("the picture " + scene.path + " is no regular file");
    scene.path = path.string();
}

/// Here, since what is refused later no longer knows its key.
void requireReachable(CameraSettings& settings, std::string_view key, const std::string& file) {
    if (key == "size")
        requirePictureSize(settings.pictureSize());
    if (key == "scene" && settings.scene.kind == SceneKind::file)
        keepBeside(file, settings.scene);
}

/// One camera of a set, for messages and paths.
struct CameraPlace {
    const std::string& file;
    std::string camera;
};

std::string cameraPlace(const std::string& file, std::size_t number) {
    return file + ", camera " + std::to_string(number);
}

std::string keyWords(const std::string& key) {
    return ", key \"" + key + "\"";
}

void readKey(CameraEntry& entry, const std::string& name, const Json& value, const CameraPlace& place) {
    const auto setting = std::ranges::find(settingTable(), name, &Setting::key);
    if (setting == settingTable().end())
        throw CameraSetError(place.camera + ": there is no key \"" + name + "\"; there are " + knownKeys());
    try {
        std::visit(ValueReader{entry, value, setting->kind}, setting->apply);
        requireReachable(entry.settings, name, place.file);
    } catch (const WrongValue& wrong) {
        throw CameraSetError(place.camera + keyWords(name) + ": " + wrong.what());
    } catch (const std::invalid_argument& wrong) {
        throw CameraSetError(place.camera + keyWords(name) + ": " + wrong.what());
    }
}

CameraEntry readCamera(const Json& description, const CameraPlace& place) {
    if (!description.is_object())
        throw CameraSetError(place.camera + ": an object {...} is due");
    CameraEntry entry;
    for (const auto& [name, value] : description.items())
        readKey(entry, name, value, place);
    if (entry.address.empty())
        throw CameraSetError(place.camera + ": the key \"address\" is missing");
    return entry;
}

/// Of a number that no JSON reader can hold, the library knows neither camera nor key.
Json readJson(std::string_view text, const std::string& name) {
    constexpr int ofCamera = 2; // depth, within the array of the outer object
    std::string place = name;
    std::size_t cameras = 0;
    const auto follow = [&](int depth, Json::parse_event_t event, const Json& parsed) {
        if (depth == ofCamera && event == Json::parse_event_t::object_start)
            ++cameras;
        else if (depth == ofCamera && event == Json::parse_event_t::object_end)
            place = name;
        else if (depth == ofCamera + 1 && event == Json::parse_event_t::key)
            place = cameraPlace(name, cameras) + keyWords(parsed.get<std::string>());
        return true;
    };
    try {
        return Json::parse(text, follow);
    } catch (const Json::parse_error& error) {
        throw CameraSetError(name + ": this is no JSON: " + error.what());
    } catch (const Json::out_of_range&) {
        throw CameraSetError(place + ": the number is larger than any number can be");
    }
}

} // namespace

std::vector<CameraEntry> parseCameraSet(std::string_view text, const std::string& name) {
    const Json document = readJson(text, name);
    if (!document.is_object() || document.size() != 1 || !document.contains("cameras"))
        throw CameraSetError(name + ": {\"cameras\": [...]} is due, with no other key");
    const Json& cameras = document.at("cameras");
    if (!cameras.is_array() || cameras.empty() || cameras.size() > mostCamerasOfSet)
        throw CameraSetError(name + ", key \"cameras\": an array of 1 to " +
                             std::to_string(mostCamerasOfSet) + " cameras is due");
    std::vector<CameraEntry> entries;
    for (const Json& description : cameras)
        entries.push_back(readCamera(description, {name, cameraPlace(name, entries.size() + 1)}));
    return entries;
}

std::vector<CameraEntry> readCameraSet(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
        throw CameraSetError(path + ": " + std::generic_category().message(errno));
    std::string text(longestFile + 1, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (stream.bad())
        throw CameraSetError(path + ": this is not a readable file");
    if (static_cast<std::size_t>(stream.gcount()) > longestFile)
        throw CameraSetError(path + ": the file has more than 1 MiB");
    text.resize(static_cast<std::size_t>(stream.gcount()));
    return parseCameraSet(text, path);
}

} // namespace Simulator
