// How much memory a capture takes at its peak. This program counts every allocation of the thread that asks.

#include "ServedCamera.h"

#include "Camera/SgiWriter.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

/// The calling thread's heap, above what it was when the counting began.
struct HeapCount {
    bool counting = false;
    long long now = 0;
    long long peak = 0;
};
thread_local HeapCount heap;

void* allocate(std::size_t bytes, std::size_t alignment) {
    void* const memory = alignment == 0
                             ? std::malloc(bytes)
                             : std::aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment);
    if (memory != nullptr && heap.counting) {
        heap.now += static_cast<long long>(malloc_usable_size(memory));
        heap.peak = std::max(heap.peak, heap.now);
    }
    return memory;
}

void release(void* memory) {
    if (memory != nullptr && heap.counting)
        heap.now -= static_cast<long long>(malloc_usable_size(memory));
    std::free(memory);
}

void* allocateOrThrow(std::size_t bytes, std::size_t alignment) {
    void* const memory = allocate(bytes, alignment);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

} // namespace

// Every library of the process allocates through these.
void* operator new(std::size_t bytes) {
    return allocateOrThrow(bytes, 0);
}
void* operator new[](std::size_t bytes) {
    return allocateOrThrow(bytes, 0);
}
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return allocate(bytes, 0);
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
    return allocate(bytes, 0);
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
    return allocateOrThrow(bytes, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t bytes, std::align_val_t alignment) {
    return allocateOrThrow(bytes, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete[](void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    release(memory);
}

using namespace Integration;

TEST(CaptureMemory, StaysBelowTwoPointEightTimesTheFile) {
    Simulator::CameraSettings settings;
    settings.scene.kind = Simulator::SceneKind::Noise;
    settings.size = Simulator::PictureSize{2748, 1836};
    ServedCamera camera(settings);
    PosixEthernetCommunicator communicator(L"127.0.0.1", camera.port(), -1);
    const double fileBytes = Simulator::sgiHeaderBytes + 2748.0 * 1836.0 * 3 * 2;

    heap = {true, 0, 0};
    ImagePointer image = captureFrom(communicator, {}, 15);
    const HeapCount counted = heap;
    heap.counting = false;

    ASSERT_NE(image, nullptr);
    const double peakRatio = static_cast<double>(counted.peak) / fileBytes;
    const double keptBytes = static_cast<double>(counted.now);
    std::printf("file %.0f bytes, peak heap %.2f x that, kept %.0f bytes\n", fileBytes, peakRatio, keptBytes);
    RecordProperty("peakHeapPerFileByte", std::to_string(peakRatio));
    EXPECT_LE(peakRatio, 2.8);
    EXPECT_GE(peakRatio, 1.0) << "the counting does not see the plug-in";
    EXPECT_NEAR(keptBytes, 2748.0 * 1836.0, 100'000.0) << "something besides the picture is kept";
}
