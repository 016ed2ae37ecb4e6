#pragma once

#include <filesystem>
#include <string>

#include "api/TemporaryPath.h"
#include "serial/posix/SystemTree.h"

namespace ovk::test {

/// A made-up tree of devices in the shape of the system's, in which ports are looked for as long as
/// it lives.
class MadeUpSystem {
  public:
    MadeUpSystem() {
        std::filesystem::create_directories(terminals);
        std::filesystem::create_directories(root / "dev");
        systemTree() = {root / "sys", root / "dev"};
    }
    ~MadeUpSystem() { systemTree() = usual_; }
    MadeUpSystem(const MadeUpSystem&) = delete;
    MadeUpSystem& operator=(const MadeUpSystem&) = delete;

    void addTerminal(const std::string& terminal, const std::filesystem::path& device) const {
        std::filesystem::create_directories(terminals / terminal);
        std::filesystem::create_directory_symlink(device, terminals / terminal / "device");
    }
    /// Gives the device a driver.
    void drive(const std::filesystem::path& device, const std::string& driver) const {
        const auto drivers = root / "sys/bus/drivers" / driver;
        std::filesystem::create_directories(drivers);
        std::filesystem::create_directory_symlink(drivers, device / "driver");
    }
    std::string dev(const std::string& terminal) const { return root / "dev" / terminal; }

    const TemporaryPath folder{"cqapi-system-tree"};
    const std::filesystem::path root = folder.get();
    const std::filesystem::path terminals = root / "sys/class/tty";

  private:
    const SystemTree usual_ = systemTree();
};

}  // namespace ovk::test
