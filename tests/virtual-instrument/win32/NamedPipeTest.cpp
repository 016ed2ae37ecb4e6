// The pipe as hosts meet it: the only one of its name, and read late.

#include "win32/NamedPipe.h"

#include <gmock/gmock.h>

#include "Bench.h"

namespace vi::test {
namespace {

constexpr DWORD kPatienceMs = 5000;
constexpr const char* kName = "vi-named-pipe-test";

Handle openHost(const NamedPipe& pipe) {
    WaitNamedPipeA(pipe.name().c_str(), kPatienceMs);
    return Handle(CreateFileA(pipe.name().c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                              OPEN_EXISTING, 0, nullptr));
}

/// Lets the pipe notice that a host has come or gone.
void takeNotice(NamedPipe& pipe) {
    Bytes none;
    ASSERT_EQ(WaitForSingleObject(pipe.readEvent(), kPatienceMs), WAIT_OBJECT_0);
    pipe.read(none);
    EXPECT_TRUE(none.empty());
}

Bytes readAtHost(const Handle& host, std::size_t size) {
    Bytes bytes(size);
    std::size_t done = 0;
    DWORD count = 0;
    while (done < size && ReadFile(host.get(), bytes.data() + done, static_cast<DWORD>(size - done),
                                   &count, nullptr) != 0) {
        done += count;
    }
    bytes.resize(done);
    return bytes;
}

TEST(NamedPipe, IsTheOnlyOneOfItsName) {
    const NamedPipe pipe(kName);
    EXPECT_THROW(NamedPipe{kName}, std::runtime_error);
}

/// A host that does not read fills the pipe: what has been taken by then still arrives, whole and in
/// order, once it reads.
TEST(NamedPipe, LosesNothingWhenAHostReadsLate) {
    NamedPipe pipe(kName);
    const Handle host = openHost(pipe);
    takeNotice(pipe);
    Bytes written;
    for (std::uint8_t number = 0; number < 200; ++number) {
        const Bytes block(4096, number);
        if (pipe.write(block) == 0) {
            break;
        }
        written.insert(written.end(), block.begin(), block.end());
    }
    ASSERT_LT(written.size(), 200U * 4096U) << "the pipe never filled";
    EXPECT_EQ(readAtHost(host, written.size()), written);
    EXPECT_EQ(WaitForSingleObject(pipe.writeEvent(), kPatienceMs), WAIT_OBJECT_0);
    EXPECT_EQ(pipe.write(Bytes{1}), 1U);
}

}  // namespace
}  // namespace vi::test
