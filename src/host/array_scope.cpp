// Who reclaims an array: the scope that was innermost when it was made, a matrix that holds it, or
// the caller.
#include "host/vx_array.hpp"
#include "thread_state.hpp"

namespace activeset {

void ScopeAccess::link(vxArray* array) noexcept {
    CallScope* scope = threadState().innermostScope;
    array->scope = scope;
    if (scope != nullptr) {
        linkTo(scope, array);
    }
}

void ScopeAccess::linkTo(CallScope* scope, vxArray* array) noexcept {
    array->scope = scope;
    array->newer = nullptr;
    array->older = scope->newest_;
    if (scope->newest_ != nullptr) {
        scope->newest_->newer = array;
    }
    scope->newest_ = array;
}

void ScopeAccess::unlink(vxArray* array) noexcept {
    if (array->scope == nullptr) {
        return;
    }
    if (array->newer != nullptr) {
        array->newer->older = array->older;
    } else {
        array->scope->newest_ = array->older;
    }
    if (array->older != nullptr) {
        array->older->newer = array->newer;
    }
    array->scope = nullptr;
    array->newer = nullptr;
    array->older = nullptr;
}

void holdArray(vxArray* array) noexcept {
    ++array->holders;
    array->isOrphaned = array->isOrphaned || (array->scope == nullptr && !array->isPersistent);
}

void letGoOfArray(vxArray* array) noexcept {
    if (--array->holders == 0 && array->isOrphaned) {
        vxDestroyArray(array);
    }
}

CallScope::CallScope() noexcept : enclosing_(threadState().innermostScope) {
    threadState().innermostScope = this;
}

CallScope::~CallScope() {
    while (newest_ != nullptr) {
        vxArray* array = newest_;
        ScopeAccess::unlink(array);
        if (array->holders > 0) {
            array->isOrphaned = true;
        } else {
            vxDestroyArray(array);
        }
    }
    threadState().innermostScope = enclosing_;
}

vxArray* CallScope::keep(vxArray* array) noexcept {
    if (array != nullptr && array->scope == this) {
        ScopeAccess::unlink(array);
        if (enclosing_ != nullptr) {
            ScopeAccess::linkTo(enclosing_, array);
        }
    }
    return array;
}

std::int64_t liveArrayCount() noexcept {
    return threadState().liveArrays;
}

}  // namespace activeset

using activeset::checkedArray;
using activeset::ScopeAccess;

bool vxIsPersistent(const vxArray* array) {
    return checkedArray(array).isPersistent;
}

void vxSetArrayScope(vxArray* array, int scope) {
    ScopeAccess::unlink(&checkedArray(array));
    array->isPersistent = scope == 0;
    if (!array->isPersistent) {
        ScopeAccess::link(array);
    }
    array->isOrphaned = array->holders > 0 && array->scope == nullptr && !array->isPersistent;
}
