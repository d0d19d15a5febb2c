#pragma once

#include "tests/hv/session.h"

// What the two enumerators, each made of a list of the host's, have in common.
namespace hv_tests {

// A list of one item has a current one between its only two steps.
template <class Item, class List>
void expect_current_only_in_place(List& list, const std::string& bad_index) {
    win::com_ptr<Item> item;
    EXPECT_EQ(outcome(list.get_Current(item.put())), failed({bad_index}));
    EXPECT_TRUE(next(list));
    EXPECT_EQ(list.get_Current(item.put()), S_OK);
    for (int past_end = 0; past_end < 2; ++past_end) {
        EXPECT_FALSE(next(list));
        EXPECT_EQ(outcome(list.get_Current(item.put())), failed({bad_index}));
    }
}

// `fetch` gets the list of an answer that counts so many entries but brings none.
template <class List, class Fetch>
void expect_false_counts_refused(const std::string& command, const Fetch& fetch) {
    win::com_ptr<List> list;
    EXPECT_EQ(outcome(fetch(0, list.put())), succeeded());
    EXPECT_FALSE(next(*list.get())) << "no list, but none was promised";
    for (const std::uint32_t promised : {1u, 0xffffffffu})
        EXPECT_EQ(
            outcome(fetch(promised, list.put())),
            failed({text::format("The reply to remote function [%1] is not valid: it counts %2 entries but brings no list.",
                                 command, promised)}));
}

}  // namespace hv_tests
