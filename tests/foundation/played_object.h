#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <unknwn.h>

#include <array>
#include <functional>
#include <map>
#include <utility>

// A COM object whose methods are played by a test, by the slot of each in its interface's table; those that are not played
// answer E_NOTIMPL. It answers a query for any interface with itself. It lives on the stack of the test and notices a
// reference that is left over.
class played_object {
    static constexpr std::size_t slots = 80;
    void** first_;  // the object begins with the pointer to its table

public:
    using answer_t = std::function<HRESULT(void* first, void* second, void* third)>;

    played_object() {
        first_ = table_.data();
        fill(std::make_index_sequence<slots>());
    }
    ~played_object() { EXPECT_EQ(references_, 0) << "references that nobody released"; }
    played_object(const played_object&) = delete;

    answer_t& operator[](int slot) { return answers_[slot]; }
    HRESULT query_result = S_OK;
    bool query_gives_nothing = false;

    template <class Interface>
    Interface* as() {
        return reinterpret_cast<Interface*>(this);
    }

private:
    template <std::size_t... Slot>
    void fill(std::index_sequence<Slot...>) {
        ((table_[Slot] = reinterpret_cast<void*>(&method<Slot>)), ...);
        table_[0] = reinterpret_cast<void*>(&query);
        table_[1] = reinterpret_cast<void*>(&add_ref);
        table_[2] = reinterpret_cast<void*>(&release);
    }

    // With the platform's calling convention the caller takes its arguments off the stack, so that one shape serves all.
    template <std::size_t Slot>
    static HRESULT WINAPI method(played_object* self, void* first, void* second, void* third) {
        const auto found = self->answers_.find(Slot);
        return found == self->answers_.end() ? E_NOTIMPL : found->second(first, second, third);
    }
    static HRESULT WINAPI query(played_object* self, REFIID, void** object) {
        *object = nullptr;
        if (FAILED(self->query_result) || self->query_gives_nothing)
            return self->query_result;
        ++self->references_;
        *object = self;
        return self->query_result;
    }
    static ULONG WINAPI add_ref(played_object* self) { return static_cast<ULONG>(++self->references_); }
    static ULONG WINAPI release(played_object* self) { return static_cast<ULONG>(--self->references_); }

    std::array<void*, slots> table_;
    std::map<int, answer_t> answers_;
    long references_ = 0;
};
