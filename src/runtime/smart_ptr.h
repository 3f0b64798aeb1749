#pragma once

#include <memory>

namespace korvane
{

/// A shared owner of an object. Each owner is used by one thread at a time; owners of one object may be
/// copied and released on several threads at once.
template <class T>
class TSmartPtr : public std::shared_ptr<T>
{
public:
    using std::shared_ptr<T>::shared_ptr;

    void Reset(T* object) { this->reset(object); } ///< takes `object` over, in place of what is held
    void Release() { this->reset(); }              ///< leaves it empty; the last owner deletes the object
    T* Get() const { return this->get(); }
};

} // namespace korvane
