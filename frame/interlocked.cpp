#include <verrick/interlocked.h>

#include "frame/facade.h"
#include "frame/relaxed.h"
namespace {

using verrick::relaxed;

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
