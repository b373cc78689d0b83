#include <verrick/interlocked.h>

namespace {

constexpr auto relaxed = std::memory_order_relaxed;

// Wraps where the sum of signed integers would be undefined.
int WrappingSum(int left, int right) {
    return static_cast<int>(static_cast<unsigned int>(left) + static_cast<unsigned int>(right));
}

} // namespace

IInterlockedValue::IInterlockedValue() = default;
IInterlockedValue::~IInterlockedValue() = default;

DInterlockedValue::DInterlockedValue(int value) : m_impl(new DInterlockedValueImpl(value)) {}

DInterlockedValue::~DInterlockedValue() {
    delete m_impl;
}

int DInterlockedValue::Increment() {
    return m_impl != nullptr ? m_impl->Increment() : 0;
}

int DInterlockedValue::Decrement() {
    return m_impl != nullptr ? m_impl->Decrement() : 0;
}

int DInterlockedValue::Add(int amount) {
    return m_impl != nullptr ? m_impl->Add(amount) : 0;
}

int DInterlockedValue::SetValue(int value) {
    return m_impl != nullptr ? m_impl->SetValue(value) : 0;
}

int DInterlockedValue::GetValue() const {
    return m_impl != nullptr ? m_impl->GetValue() : 0;
}

DInterlockedValueImpl::DInterlockedValueImpl(int value) : m_value(value) {}

DInterlockedValueImpl::~DInterlockedValueImpl() = default;

int DInterlockedValueImpl::Increment() {
    return DInterlockedValueImpl::Add(1);
}

int DInterlockedValueImpl::Decrement() {
    return DInterlockedValueImpl::Add(-1);
}

int DInterlockedValueImpl::Add(int amount) {
    DMonitor monitor(m_lock);
    int const value = WrappingSum(m_value.load(relaxed), amount);
    m_value.store(value, relaxed);
    return value;
}

int DInterlockedValueImpl::SetValue(int value) {
    DMonitor monitor(m_lock);
    m_value.store(value, relaxed);
    return value;
}

int DInterlockedValueImpl::GetValue() const {
    return m_value.load(relaxed);
}
