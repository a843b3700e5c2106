#include "NativeCameraKorva/KorvaAdapterList.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace Korva {

std::string textOf(const IP_ADDRESS_STRING& entry) {
    return std::string(std::begin(entry.String),
                       std::find(std::begin(entry.String), std::end(entry.String), '\0'));
}

// Not cleared, so that a size that makes no sense costs no memory but what the system fills.
AdapterList::AdapterList(ULONG bytes)
    : bytes_(bytes), memory_(std::make_unique_for_overwrite<std::byte[]>(bytes)) {}

AdapterList::~AdapterList() = default;

DWORD AdapterList::fill() {
    ULONG bytes = bytes_;
    auto* const first = reinterpret_cast<IP_ADAPTER_INFO*>(memory_.get());
    const DWORD code = GetAdaptersInfo(first, &bytes);
    if (code == NO_ERROR) {
        next_ = first;
        left_ = bytes_ / sizeof(IP_ADAPTER_INFO);
    }
    return code;
}

const IP_ADAPTER_INFO* AdapterList::next() {
    if (left_ == 0 || !holds(next_))
        return nullptr;
    --left_;
    const IP_ADAPTER_INFO* const current = next_;
    next_ = current->Next;
    return current;
}

bool AdapterList::holds(const IP_ADAPTER_INFO* adapter) const {
    const auto begin = reinterpret_cast<std::uintptr_t>(memory_.get());
    const auto at = reinterpret_cast<std::uintptr_t>(adapter);
    return at >= begin && at - begin <= bytes_ - sizeof(IP_ADAPTER_INFO) &&
           (at - begin) % alignof(IP_ADAPTER_INFO) == 0;
}

} // namespace Korva
