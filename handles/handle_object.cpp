#include <verrick/handles.h>

namespace {

constexpr unsigned long kAnyType = 0;
constexpr unsigned long kNoType = 0;

} // namespace

XHandleObject::XHandleObject(unsigned long type) : m_type(type) {}

// The tag is volatile, or the compiler would drop this last store to a dying object.
XHandleObject::~XHandleObject() {
    m_type = kNoType;
}

XHandleObject* XHandleObject::ObjectFromHandle(void* handle, unsigned long type) {
    auto* const object = static_cast<XHandleObject*>(handle);
    if (object == nullptr || (type != kAnyType && object->m_type != type)) {
        return nullptr;
    }
    return object;
}

unsigned long WaitForSingleObject(HANDLE handle, unsigned long timeoutMs) {
    auto* const object = XHandleObject::ObjectFromHandle(handle, kAnyType);
    return object != nullptr ? object->WaitForSingleObject(timeoutMs) : WAIT_FAILED;
}

int CloseHandle(HANDLE handle) {
    auto* const object = XHandleObject::ObjectFromHandle(handle, kAnyType);
    if (object == nullptr) {
        return 0;
    }
    int const result = object->CloseHandle();
    delete object;
    return result;
}
