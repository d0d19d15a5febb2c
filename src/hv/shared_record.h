#pragma once

#include <mutex>
#include <utility>

#include "foundation/lock.h"

namespace hv {

// A record that any thread may read and write, each time whole.
template <class Record>
class shared_record_t {
public:
    explicit shared_record_t(const Record& value) : value_(value) {}

    Record value() const {
        const std::lock_guard guard(lock_);
        return value_;
    }
    void set(Record value) {
        const std::lock_guard guard(lock_);
        value_ = std::move(value);
    }
    template <class T>
    void set(T Record::*member, const T& value) {
        const std::lock_guard guard(lock_);
        value_.*member = value;
    }

private:
    mutable win::lock_t lock_;
    Record value_;
};

}  // namespace hv
