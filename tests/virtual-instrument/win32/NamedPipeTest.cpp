// The pipe as hosts meet it: opened and closed often, by one at a time, read late, and pulled out.

#include "win32/NamedPipe.h"

#include <gmock/gmock.h>

#include <memory>
#include <numeric>

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

/// What the pipe tells the instrument until there are as many bytes.
Bytes received(NamedPipe& pipe, std::size_t size) {
    Bytes bytes;
    while (bytes.size() < size &&
           WaitForSingleObject(pipe.readEvent(), kPatienceMs) == WAIT_OBJECT_0) {
        pipe.read(bytes);
    }
    return bytes;
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

bool writeAtHost(const Handle& host, const Bytes& bytes) {
    DWORD count = 0;
    return WriteFile(host.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) !=
               0 &&
           count == bytes.size();
}

TEST(NamedPipe, CarriesEveryByteForHostAfterHost) {
    NamedPipe pipe(kName);
    Bytes all(256);
    std::iota(all.begin(), all.end(), std::uint8_t{0});
    EXPECT_EQ(pipe.write(all), all.size()) << "lost, as nobody is there";
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        {
            const Handle host = openHost(pipe);
            ASSERT_TRUE(host.isValid());
            ASSERT_TRUE(writeAtHost(host, all));
            EXPECT_EQ(received(pipe, all.size()), all);
            EXPECT_EQ(pipe.write(all), all.size());
            EXPECT_EQ(readAtHost(host, all.size()), all);
        }
        takeNotice(pipe);
    }
}

TEST(NamedPipe, HasRoomForOneHostAndOnePipeOfItsName) {
    NamedPipe pipe(kName);
    const Handle host = openHost(pipe);
    ASSERT_TRUE(host.isValid());
    const Handle second(CreateFileA(pipe.name().c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                    OPEN_EXISTING, 0, nullptr));
    EXPECT_FALSE(second.isValid());
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

TEST(NamedPipe, BreaksWhenItGoesAway) {
    auto pipe = std::make_unique<NamedPipe>(kName);
    const Handle host = openHost(*pipe);
    takeNotice(*pipe);
    pipe.reset();
    EXPECT_FALSE(writeAtHost(host, Bytes{1}));
}

}  // namespace
}  // namespace vi::test
