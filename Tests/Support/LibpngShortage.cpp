#include "Support/LibpngShortage.h"

#include <dlfcn.h>
#include <png.h>

namespace {

Support::LibpngStep failing = Support::LibpngStep::none;

template <class Function>
Function* libpngs(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

namespace Support {

LibpngShortage::LibpngShortage(LibpngStep step) {
    failing = step;
}

LibpngShortage::~LibpngShortage() {
    failing = LibpngStep::none;
}

} // namespace Support

extern "C" {

png_structp png_create_read_struct(png_const_charp version, png_voidp errorContext, png_error_ptr onError,
                                   png_error_ptr onWarning) {
    if (failing == Support::LibpngStep::readStructure)
        return nullptr;
    return libpngs<decltype(png_create_read_struct)>("png_create_read_struct")(version, errorContext, onError,
                                                                               onWarning);
}

png_infop png_create_info_struct(png_const_structrp png) {
    if (failing == Support::LibpngStep::infoStructure)
        return nullptr;
    return libpngs<decltype(png_create_info_struct)>("png_create_info_struct")(png);
}

jmp_buf* png_set_longjmp_fn(png_structrp png, png_longjmp_ptr jump, size_t bufferSize) {
    if (failing == Support::LibpngStep::errorReturn)
        return nullptr;
    return libpngs<decltype(png_set_longjmp_fn)>("png_set_longjmp_fn")(png, jump, bufferSize);
}

} // extern "C"
