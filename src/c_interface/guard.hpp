// Turns exceptions into error codes, so that none reaches C.
#ifndef ACTIVESET_SRC_C_INTERFACE_GUARD_HPP
#define ACTIVESET_SRC_C_INTERFACE_GUARD_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>

#include "activeset/activeset.h"
#include "activeset/host.hpp"

namespace activeset::c_interface {

/// An argument that makes no sense; its code is ACTIVESET_BAD_ARGUMENT.
struct BadArgument : std::exception {};

/// A result that is not an optimum of the given problem; its code is ACTIVESET_NOT_ITS_OPTIMUM.
struct NotItsOptimum : std::exception {};

inline void require(bool isSound) {
    if (!isSound) {
        throw BadArgument();
    }
}

/// Calls `work` and turns what it raises into a code.
template <class Work>
int guarded(Work work) noexcept {
    try {
        work();
        return ACTIVESET_OK;
    } catch (const BadArgument&) {
        return ACTIVESET_BAD_ARGUMENT;
    } catch (const NotItsOptimum&) {
        return ACTIVESET_NOT_ITS_OPTIMUM;
    } catch (const std::bad_alloc&) {
        return ACTIVESET_OUT_OF_MEMORY;
    } catch (const std::length_error&) {
        return ACTIVESET_OUT_OF_MEMORY;  // more than a vector can ever hold
    } catch (const HostError& error) {
        return error.identifier() == OutOfMemoryIdentifier ? ACTIVESET_OUT_OF_MEMORY
                                                           : ACTIVESET_ERROR;
    } catch (const std::logic_error&) {
        return ACTIVESET_BUSY;
    } catch (...) {
        return ACTIVESET_ERROR;
    }
}

/// A copy of the caller's struct with all members that this library knows. Members that the
/// caller's version does not have come from `defaults`. Raises BadArgument for a struct_size below
/// `least`.
template <class Struct>
Struct known(const Struct* given, const Struct& defaults, std::size_t least) {
    Struct result = defaults;
    if (given != nullptr) {
        require(given->struct_size >= least);
        std::memcpy(&result, given, std::min(given->struct_size, sizeof(Struct)));
    }
    result.struct_size = sizeof(Struct);
    return result;
}

/// A size that the caller gave. Raises BadArgument if no address space holds its square.
inline std::size_t sizeOf(std::int64_t given) {
    constexpr std::int64_t Largest = std::int64_t{1} << 29U;
    require(given >= 0 && given <= Largest);
    return static_cast<std::size_t>(given);
}

}  // namespace activeset::c_interface

#endif
