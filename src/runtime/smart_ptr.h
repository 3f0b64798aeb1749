#pragma once

#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

namespace korvane
{

/// A shared owner of an object. Each owner is used by one thread at a time; owners of one object may be
/// copied and released on several threads at once. At most 127 share one object: a further copy is empty.
template <class T>
class TSmartPtr
{
public:
    TSmartPtr() = default;
    explicit TSmartPtr(T* object) { Reset(object); }
    TSmartPtr(const TSmartPtr& other) { Share(other); }
    TSmartPtr(TSmartPtr&& other) noexcept
        : count_(std::exchange(other.count_, nullptr)), object_(std::exchange(other.object_, nullptr))
    {
    }
    virtual ~TSmartPtr() { Release(); }

    TSmartPtr& operator=(const TSmartPtr& other)
    {
        if (this != &other)
        {
            Release();
            Share(other);
        }
        return *this;
    }
    TSmartPtr& operator=(TSmartPtr&& other) noexcept
    {
        if (this != &other)
        {
            Release();
            count_ = std::exchange(other.count_, nullptr);
            object_ = std::exchange(other.object_, nullptr);
        }
        return *this;
    }

    /// Releases what is held, and takes `object` (which may be null) over.
    void Reset(T* object)
    {
        std::unique_ptr<T> owner(object);
        Release();
        if (object == nullptr)
            return;
        count_ = new Count(1);
        object_ = owner.release();
    }

    /// Leaves it empty; the last owner deletes the object.
    void Release()
    {
        Count* const count = std::exchange(count_, nullptr);
        T* const object = std::exchange(object_, nullptr);
        if (count == nullptr || --*count != 0)
            return;
        delete count;
        delete object;
    }

    T* Get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }

private:
    using Count = std::atomic<std::int8_t>;

    void Share(const TSmartPtr& other)
    {
        if (other.count_ == nullptr)
            return;
        std::int8_t count = other.count_->load();
        do
        {
            if (count == std::numeric_limits<std::int8_t>::max())
                return;
        } while (!other.count_->compare_exchange_weak(count, static_cast<std::int8_t>(count + 1)));
        count_ = other.count_;
        object_ = other.object_;
    }

    Count* count_ = nullptr; // shared by all owners
    T* object_ = nullptr;
};

} // namespace korvane
