#include "gl/glprocs.h"

#include <SDL.h>

#include <cassert>
#include <cstdio>

namespace {

void* SdlLoader(const char* name) { return SDL_GL_GetProcAddress(name); }

GlProcLoader loader = SdlLoader;
int lookups = 0;

const char* const names[GL_PROC_COUNT] = {
#define VELMORA_GL_NAME(ret, name, params, args) #name,
    VELMORA_GL_PROCS(VELMORA_GL_NAME)
#undef VELMORA_GL_NAME
};

// Asks the driver for a slot's address. A missing function is a programmer's error: the
// engine only calls what the start-up capability checks have vouched for.
void* Resolve(GlProcId id) {
    ++lookups;
    void* address = loader(names[id]);
    if (address == nullptr) {
        printf("GL procedure '%s' not available\n", names[id]);
        fflush(stdout);
    }
    assert(address != nullptr);
    return address;
}

// The table itself: typed pointers, each starting at its stub.
struct GlProcTable {
#define VELMORA_GL_ENTRY(ret, name, params, args) ret(APIENTRY* name) params;
    VELMORA_GL_PROCS(VELMORA_GL_ENTRY)
#undef VELMORA_GL_ENTRY
};

#define VELMORA_GL_STUB(ret, name, params, args) ret APIENTRY Stub_##name params;
VELMORA_GL_PROCS(VELMORA_GL_STUB)
#undef VELMORA_GL_STUB

GlProcTable table = {
#define VELMORA_GL_INIT(ret, name, params, args) Stub_##name,
    VELMORA_GL_PROCS(VELMORA_GL_INIT)
#undef VELMORA_GL_INIT
};

#define VELMORA_GL_STUB(ret, name, params, args)                                      \
    ret APIENTRY Stub_##name params {                                                 \
        table.name = reinterpret_cast<decltype(table.name)>(Resolve(GL_PROC_##name)); \
        return table.name args;                                                       \
    }
VELMORA_GL_PROCS(VELMORA_GL_STUB)
#undef VELMORA_GL_STUB

}  // namespace

extern "C" {
#define VELMORA_GL_CALL(ret, name, params, args) \
    ret APIENTRY name params { return table.name args; }
VELMORA_GL_PROCS(VELMORA_GL_CALL)
#undef VELMORA_GL_CALL
}

void SetGlProcLoader(GlProcLoader new_loader) {
    loader = new_loader != nullptr ? new_loader : SdlLoader;
}

void* GlProcEntry(GlProcId id) {
    assert(id >= 0 && id < GL_PROC_COUNT);
    switch (id) {
#define VELMORA_GL_CASE(ret, name, params, args) \
    case GL_PROC_##name:                         \
        return reinterpret_cast<void*>(table.name);
        VELMORA_GL_PROCS(VELMORA_GL_CASE)
#undef VELMORA_GL_CASE
        default:
            break;
    }
    return nullptr;
}

void* GlProcStub(GlProcId id) {
    assert(id >= 0 && id < GL_PROC_COUNT);
    switch (id) {
#define VELMORA_GL_CASE(ret, name, params, args) \
    case GL_PROC_##name:                         \
        return reinterpret_cast<void*>(Stub_##name);
        VELMORA_GL_PROCS(VELMORA_GL_CASE)
#undef VELMORA_GL_CASE
        default:
            break;
    }
    return nullptr;
}

const char* GlProcName(GlProcId id) {
    assert(id >= 0 && id < GL_PROC_COUNT);
    return names[id];
}

void ResetGlProcs() {
#define VELMORA_GL_RESET(ret, name, params, args) table.name = Stub_##name;
    VELMORA_GL_PROCS(VELMORA_GL_RESET)
#undef VELMORA_GL_RESET
    lookups = 0;
}

int GlProcLookups() { return lookups; }
