#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <unknwn.h>

#include <array>
#include <functional>
#include <map>
#include <utility>

#include "foundation/com_ptr.h"

// A COM object whose methods are played by a test, by the slot of each in its interface's table; those that are not played
// answer E_NOTIMPL. It answers a query for any interface with itself. It lives on the stack of the test and notices a
// reference that is left over.
class played_object {
    static constexpr std::size_t slots = 80;
    void** first_;  // the object begins with the pointer to its table

public:
    static constexpr int query_interface = 0;
    static constexpr HRESULT ok_with_nothing = 77;  // played as S_OK without the object

    using answer_t = std::function<HRESULT(void* first, void* second, void* third)>;

    played_object() {
        first_ = table_.data();
        fill(std::make_index_sequence<slots>());
        answers_[query_interface] = [this](void*, void* out, void*) { return hand_out(S_OK, out); };
        answers_[1] = [this](auto...) { return ++references_; };
        answers_[2] = [this](auto...) { return --references_; };
    }
    ~played_object() { EXPECT_EQ(references_, 0) << "references that nobody released"; }
    played_object(const played_object&) = delete;

    answer_t& operator[](int slot) { return answers_[slot]; }

    // A method's answer that gives this object out where it succeeds.
    HRESULT hand_out(HRESULT result, void* out) {
        const bool gives = SUCCEEDED(result) && result != ok_with_nothing;
        references_ += gives;
        *static_cast<void**>(out) = gives ? this : nullptr;
        return result == ok_with_nothing ? S_OK : result;
    }
    template <class Interface>
    win::com_ptr<Interface> as() {
        return win::com_ptr<Interface>(reinterpret_cast<Interface*>(this));
    }

private:
    template <std::size_t... Slot>
    void fill(std::index_sequence<Slot...>) {
        ((table_[Slot] = reinterpret_cast<void*>(&method<Slot>)), ...);
    }

    // With the platform's calling convention the caller takes its arguments off the stack, so that one shape serves all.
    template <std::size_t Slot>
    static HRESULT WINAPI method(played_object* self, void* first, void* second, void* third) {
        const auto found = self->answers_.find(Slot);
        return found == self->answers_.end() ? E_NOTIMPL : found->second(first, second, third);
    }

    std::array<void*, slots> table_;
    std::map<int, answer_t> answers_;
    long references_ = 0;
};
