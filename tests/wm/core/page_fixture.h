// Pages for the page manager tests: a record per page that counts what was asked of it, and page
// functions that build probes from it.
#pragma once

#include <string>

#include "toolkit_fixture.h"

struct TEST_PAGE {
    std::string name;
    INT_S32 builds { 0 };
    INT_S32 leaves { 0 };
    INT_S32 frees { 0 };
    INT_S32 ticks { 0 };
    INT_S32 tick_code { 0 };
    // The probes the last build made: one focusable box each, 20 pixels high, down the area.
    INT_S32 objects { 1 };
    bool focusable { false };
    COLOUR fill { COLOUR::from_argb(0xFF336699u) };
    PROBE* made[8] {};
};

void test_page_build(WM_PAGE_MANAGER* manager, PTR_INT_CAST data);
void test_page_free(PTR_INT_CAST* data);
INT_S32 test_page_tick(PTR_INT_CAST data);
void test_page_leave(PTR_INT_CAST data);

inline PTR_INT_CAST page_data(TEST_PAGE& page)
{
    return reinterpret_cast<PTR_INT_CAST>(&page);
}

// set_page with the test functions.
inline void set_test_page(WM_PAGE_MANAGER* manager, INT_S32 area, TEST_PAGE& page, bool store, INT_U32 id)
{
    manager->set_page(area, test_page_build, test_page_free, page_data(page), test_page_tick, store, id,
        test_page_leave);
}
