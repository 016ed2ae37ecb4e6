#include "reliability/SharedLibrary.h"

#include <dlfcn.h>

#include <stdexcept>

#include "peer/posix/OwnProcess.h"

namespace cqtest {

SharedLibrary::SharedLibrary(const std::string& path)
    : module_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (module_ == nullptr) {
        throw std::runtime_error(dlerror());
    }
}

SharedLibrary::~SharedLibrary() {
    dlclose(module_);
}

void* SharedLibrary::symbol(const char* name) const {
    void* const found = dlsym(module_, name);
    if (found == nullptr) {
        throw std::runtime_error(dlerror());
    }
    return found;
}

bool SharedLibrary::isLoaded(const std::string& path) {
    void* const loaded = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (loaded != nullptr) {
        dlclose(loaded);
    }
    return loaded != nullptr;
}

std::size_t countThreads() {
    return static_cast<std::size_t>(ownThreads());
}

}  // namespace cqtest
