#ifndef QUORVEX_PLATFORM_SHARED_FIELD_H
#define QUORVEX_PLATFORM_SHARED_FIELD_H

// A field of a plain record that several threads touch.

#include <atomic>

template <class Value>
Value LoadShared(Value &field)
{
    return std::atomic_ref(field).load();
}

template <class Value>
void StoreShared(Value &field, Value value)
{
    std::atomic_ref(field).store(value);
}

#endif
