#pragma once

// The library's own file calls, for those who stand in front of them.

#include <dlfcn.h>

namespace driver
{

/// The call of that name behind the one of this program.
template <class Function> Function *real(const char *name, Function * /*same type*/)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}
#define REAL(name) (driver::real(#name, &::name))

} // namespace driver
