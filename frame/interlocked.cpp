#include <verrick/interlocked.h>

#include "frame/facade.h"
#include "frame/relaxed.h"
namespace {

using verrick::relaxed;

// Enough for a value that guards other data, for example a reference count.
constexpr auto kLockOrder = std::memory_order_acq_rel;

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
    return verrick::ForwardOr(0, m_impl, &IInterlockedValue::Increment);
}

int DInterlockedValue::Decrement() {
    return verrick::ForwardOr(0, m_impl, &IInterlockedValue::Decrement);
}

int DInterlockedValue::Add(int amount) {
    return verrick::ForwardOr(0, m_impl, &IInterlockedValue::Add, amount);
}

int DInterlockedValue::SetValue(int value) {
    return verrick::ForwardOr(0, m_impl, &IInterlockedValue::SetValue, value);
}

int DInterlockedValue::GetValue() const {
    return verrick::ForwardOr(0, m_impl, &IInterlockedValue::GetValue);
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
    return WrappingSum(m_value.fetch_add(amount, kLockOrder), amount);
}

int DInterlockedValueImpl::SetValue(int value) {
    m_value.exchange(value, kLockOrder);
    return value;
}

int DInterlockedValueImpl::GetValue() const {
    return m_value.load(relaxed);
}
