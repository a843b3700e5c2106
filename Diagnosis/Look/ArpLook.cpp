#include "Look/ArpLook.h"

#include "AddressText.h"
#include "CameraFacts.h"
#include "View.h"

#include "Platform/ArpProbe.h"

#include <functional>
#include <utility>

namespace Diagnosis {

namespace {

/// What is asked, and what becomes of each hardware address that answers.
struct Questions {
    std::vector<Platform::ArpQuestion> asked;
    std::vector<std::function<void(const std::string&)>> notes;

    void add(const Platform::Adapter& adapter, std::uint32_t address,
             std::function<void(const std::string&)> note) {
        asked.push_back({adapter.index, adapter.hardwareAddress, address});
        notes.push_back(std::move(note));
    }
};

bool isUsable(const Platform::Adapter& adapter) {
    return adapter.isUp && adapter.isEthernet;
}

void addOwn(Questions& questions, const Platform::Adapter& adapter, Facts& facts) {
    for (const Platform::Adapter::Address& own : adapter.addresses)
        questions.add(adapter, own.ip, [&facts, name = adapter.name, own](const std::string& mac) {
            facts.neighbours.push_back({name, dottedText(own.ip), mac});
        });
}

/// An adapter's own addresses are asked for as such.
bool reaches(const Platform::Adapter& adapter, std::uint32_t address) {
    bool isNear = false;
    for (const Platform::Adapter::Address& own : adapter.addresses) {
        if (own.ip == address)
            return false;
        isNear = isNear || (own.ip & own.mask) == (address & own.mask);
    }
    return isNear;
}

void addCameras(Questions& questions, const Platform::Adapter& adapter, Facts& facts) {
    for (Camera& camera : facts.cameras) {
        const std::optional<std::uint32_t> address =
            addressFromText(camera.ipv4.empty() ? camera.address : camera.ipv4);
        if (address && reaches(adapter, *address))
            questions.add(adapter, *address, [&camera](const std::string& mac) {
                addMac(mac, camera);
                camera.answersArp = true;
            });
    }
}

} // namespace

void lookByArp(Facts& facts) {
    const View view = View::now();
    Questions questions;
    for (const Platform::Adapter& adapter : view.adapters.value_or(std::vector<Platform::Adapter>())) {
        if (!isUsable(adapter))
            continue;
        addOwn(questions, adapter, facts);
        addCameras(questions, adapter, facts);
    }
    const auto answers = Platform::askByArp(questions.asked, Platform::Clock::now() + arpLookTime);
    facts.askedByArp = answers.has_value();
    for (std::size_t at = 0; answers && at < answers->size(); ++at)
        for (const std::vector<unsigned char>& mac : (*answers)[at])
            questions.notes[at](macText(mac));
}

} // namespace Diagnosis
