// Loading the X11 libraries by soname, each function looked up once.

#include "host/linux/x11_library.h"

#include <dlfcn.h>

#include <cstdio>

#include "host/display.h"

const char* const X11_LIBRARY_NAME = "libX11.so.6";
const char* const XPM_LIBRARY_NAME = "libXpm.so.4";
const char* const XF86VM_LIBRARY_NAME = "libXxf86vm.so.1";
const char* const GL_LIBRARY_NAME = "libGL.so.1";

X11_API x11 {};
XPM_API xpm {};
XF86VM_API xf86vm {};
GL_API gl {};

bool load_function_table(const char* soname, const char* const* names, INT_S32 count, void** pointers, char* failure,
    INT_S32 failure_size)
{
    void* handle = dlopen(soname, RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        snprintf(failure, static_cast<size_t>(failure_size), "%s cannot be loaded", soname);
        return false;
    }
    for (INT_S32 i = 0; i < count; ++i) {
        pointers[i] = dlsym(handle, names[i]);
        if (pointers[i])
            continue;
        snprintf(failure, static_cast<size_t>(failure_size), "%s lacks %s", soname, names[i]);
        dlclose(handle);
        return false;
    }
    // The handle stays open for the life of the process: the pointers live in it.
    return true;
}

namespace {

#define ORLU_NAME_OF(name, result, arguments) #name,
#define ORLU_ASSIGN(name, result, arguments) table.name = reinterpret_cast<decltype(table.name)>(pointers[i++]);

// One loader per library: the names in table order, then the pointers into the fields.
#define ORLU_DEFINE_LOADER(loader, LIST, TABLE_TYPE, table_object, soname)                          \
    bool loader(char* failure, INT_S32 failure_size)                                                 \
    {                                                                                                \
        static const char* const names[] = { LIST(ORLU_NAME_OF) };                                   \
        constexpr INT_S32 count = static_cast<INT_S32>(sizeof names / sizeof names[0]);              \
        void* pointers[count] = {};                                                                  \
        if (!load_function_table(soname, names, count, pointers, failure, failure_size))             \
            return false;                                                                            \
        TABLE_TYPE& table = table_object;                                                            \
        INT_S32 i = 0;                                                                               \
        LIST(ORLU_ASSIGN)                                                                            \
        return true;                                                                                 \
    }

ORLU_DEFINE_LOADER(fill_x11, ORLU_X11_FUNCTIONS, X11_API, x11, X11_LIBRARY_NAME)
ORLU_DEFINE_LOADER(fill_xpm, ORLU_XPM_FUNCTIONS, XPM_API, xpm, XPM_LIBRARY_NAME)
ORLU_DEFINE_LOADER(fill_xf86vm, ORLU_XF86VM_FUNCTIONS, XF86VM_API, xf86vm, XF86VM_LIBRARY_NAME)
ORLU_DEFINE_LOADER(fill_gl, ORLU_GL_FUNCTIONS, GL_API, gl, GL_LIBRARY_NAME)

enum LOAD_STATE : INT_S8 { NOT_TRIED = 0, LOADED = 1, FAILED = -1 };

LOAD_STATE x11_state = NOT_TRIED;
LOAD_STATE xpm_state = NOT_TRIED;
LOAD_STATE xf86vm_state = NOT_TRIED;
LOAD_STATE gl_state = NOT_TRIED;
char x11_failure[256] = "";

bool load_once(LOAD_STATE& state, bool (*fill)(char*, INT_S32), char* failure, INT_S32 size)
{
    if (state == NOT_TRIED)
        state = fill(failure, size) ? LOADED : FAILED;
    return state == LOADED;
}

} // namespace

bool load_x11()
{
    bool loaded = load_once(x11_state, fill_x11, x11_failure, sizeof x11_failure);
    if (!loaded)
        set_display_failure_text(x11_failure);
    return loaded;
}

bool load_xpm()
{
    char unused[256];
    return load_once(xpm_state, fill_xpm, unused, sizeof unused);
}

bool load_xf86vm()
{
    char unused[256];
    return load_once(xf86vm_state, fill_xf86vm, unused, sizeof unused);
}

bool load_gl()
{
    char unused[256];
    return load_once(gl_state, fill_gl, unused, sizeof unused);
}

bool x11_is_loaded() { return x11_state == LOADED; }
