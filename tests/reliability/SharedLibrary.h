#pragma once

#include <cstddef>
#include <string>

/// \file
/// What a test needs of the system to load the library while it runs, and to see what stays of it.

namespace cqtest {

/// The library, loaded as a plug-in is. Unloaded at the end of the scope.
class SharedLibrary {
  public:
    /// \throw std::runtime_error with the system's reason.
    explicit SharedLibrary(const std::string& path);
    ~SharedLibrary();
    SharedLibrary(const SharedLibrary&) = delete;
    SharedLibrary& operator=(const SharedLibrary&) = delete;

    /// \throw std::runtime_error when there is no export of this name.
    template <class Function>
    Function* find(const char* name) const {
        return reinterpret_cast<Function*>(symbol(name));
    }

    /// True while its code is in the process.
    static bool isLoaded(const std::string& path);

  private:
    void* symbol(const char* name) const;

    void* module_;
};

/// How many threads this process has.
std::size_t countThreads();

}  // namespace cqtest
