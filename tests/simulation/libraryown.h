#pragma once

#include <cstdlib>
#include <dlfcn.h>

namespace simulation {

/// The library's own, behind the one of this program that goes by the same name.
template <class Function>
Function* libraryOwn(const char* name)
{
    void* found = dlsym(RTLD_NEXT, name);
    if (!found)
        std::abort();
    return reinterpret_cast<Function*>(found);
}

} // namespace simulation
