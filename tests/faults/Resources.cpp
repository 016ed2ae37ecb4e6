#include "faults/Resources.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "peer/posix/OwnProcess.h"
#include "peer/WaitUntil.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define CQAPI_COUNTS_BLOCKS 0
#else
#define CQAPI_COUNTS_BLOCKS 1
#endif

namespace {

std::atomic<std::ptrdiff_t> liveBlocks{0};

}  // namespace

#if CQAPI_COUNTS_BLOCKS
// The program's own operator new serves the shared library as well.

void* operator new(std::size_t size) {
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    liveBlocks.fetch_add(1, std::memory_order_relaxed);
    return block;
}

void operator delete(void* block) noexcept {
    if (block != nullptr) {
        liveBlocks.fetch_sub(1, std::memory_order_relaxed);
        std::free(block);
    }
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    operator delete(block);
}
#endif

namespace cqtest::faults {

Resources Resources::now() {
    return {ownThreads(), ownDescriptors(), liveBlocks.load()};
}

Resources Resources::settled(const Resources& before) {
    Resources held{};
    waitUntil([&] { return (held = now()) == before; }, std::chrono::seconds(1));
    return held;
}

std::string describe(const Resources& resources) {
    return std::to_string(resources.threads) + " threads, " +
           std::to_string(resources.descriptors) + " descriptors, " +
           std::to_string(resources.blocks) + " blocks";
}

}  // namespace cqtest::faults
