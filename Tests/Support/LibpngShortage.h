#pragma once
// libpng without memory for its own structures: in a program of which one source includes this, its functions
// that make them are called by way of here.

#include "Support/TestSystem.h"

#include <cstddef>
#include <png.h>

namespace Support {

/// What libpng makes before it reads.
enum class LibpngStep { none, readStructure, infoStructure, errorReturn };

/// From construction to destruction that step fails, as where memory is short. One thread.
class LibpngShortage {
public:
    explicit LibpngShortage(LibpngStep step) { failing = step; }
    LibpngShortage(const LibpngShortage&) = delete;
    LibpngShortage& operator=(const LibpngShortage&) = delete;
    ~LibpngShortage() { failing = LibpngStep::none; }

    /// What libpng's `function` answers; null where its `step` is to fail.
    template <class Function, class... Arguments>
    static auto orNull(LibpngStep step, Function*, const char* function, Arguments... arguments) {
        const auto libpngs = reinterpret_cast<Function*>(TestSupport::librarysOwn(function));
        return failing == step ? nullptr : libpngs(arguments...);
    }

private:
    static inline LibpngStep failing = LibpngStep::none;
};

} // namespace Support

extern "C" {

png_structp png_create_read_struct(png_const_charp version, png_voidp context, png_error_ptr onError,
                                   png_error_ptr onWarning) {
    return Support::LibpngShortage::orNull(Support::LibpngStep::readStructure, png_create_read_struct,
                                           "png_create_read_struct", version, context, onError, onWarning);
}

png_infop png_create_info_struct(png_const_structrp png) {
    return Support::LibpngShortage::orNull(Support::LibpngStep::infoStructure, png_create_info_struct,
                                           "png_create_info_struct", png);
}

jmp_buf* png_set_longjmp_fn(png_structrp png, png_longjmp_ptr jump, std::size_t bufferSize) {
    return Support::LibpngShortage::orNull(Support::LibpngStep::errorReturn, png_set_longjmp_fn,
                                           "png_set_longjmp_fn", png, jump, bufferSize);
}

} // extern "C"
