// How much memory a capture takes at its peak. This program counts every allocation of the thread that asks.

#include "ServedCamera.h"

#include "Camera/SgiWriter.h"
#include "Support/OperatorNew.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

/// The calling thread's heap, above what it was when the counting began.
struct HeapCount {
    bool counting = false;
    long long now = 0;
    long long peak = 0;
};
thread_local HeapCount heap;

} // namespace

void* Support::allocate(std::size_t bytes, std::size_t alignment) noexcept {
    void* const memory = alignment == 0
                             ? std::malloc(bytes)
                             : std::aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment);
    if (memory != nullptr && heap.counting) {
        heap.now += static_cast<long long>(malloc_usable_size(memory));
        heap.peak = std::max(heap.peak, heap.now);
    }
    return memory;
}

void Support::release(void* memory) noexcept {
    if (memory != nullptr && heap.counting)
        heap.now -= static_cast<long long>(malloc_usable_size(memory));
    std::free(memory);
}

using namespace Integration;

TEST(CaptureMemory, StaysAtOneAndAHalfTimesTheFile) {
    Simulator::CameraSettings settings;
    settings.scene.kind = Simulator::SceneKind::noise;
    settings.size = Simulator::PictureSize{2748, 1836};
    ConnectedCamera connected(settings);
    const double fileBytes = Simulator::sgiHeaderBytes + 2748.0 * 1836.0 * 3 * 2;

    heap = {true, 0, 0};
    ImagePointer image = connected.capture();
    const HeapCount counted = heap;
    heap.counting = false;

    ASSERT_NE(image, nullptr);
    const double peakRatio = static_cast<double>(counted.peak) / fileBytes;
    const double keptBytes = static_cast<double>(counted.now);
    std::printf("file %.0f bytes, peak heap %.2f x that, kept %.0f bytes\n", fileBytes, peakRatio, keptBytes);
    EXPECT_LE(peakRatio, 1.55);
    EXPECT_GE(peakRatio, 1.0) << "the counting does not see the plug-in";
    EXPECT_NEAR(keptBytes, 2748.0 * 1836.0, 100'000.0) << "something besides the picture is kept";
}
