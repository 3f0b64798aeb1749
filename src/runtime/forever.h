#pragma once

namespace korvane
{

/// An object that is never destroyed: a thread of the driver may outlive the destructors of the process. It
/// lies in the library's own memory, so that unloading the library leaves nothing behind if `T` holds nothing
/// by then.
template <class T>
union TForever
{
    TForever() : value() {}
    ~TForever() {}
    TForever(const TForever&) = delete;
    TForever& operator=(const TForever&) = delete;

    T value;
};

} // namespace korvane
