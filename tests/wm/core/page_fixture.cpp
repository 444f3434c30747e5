// Page functions of the page manager tests.

#include "page_fixture.h"

void test_page_build(WM_PAGE_MANAGER* manager, PTR_INT_CAST data)
{
    TEST_PAGE* page = reinterpret_cast<TEST_PAGE*>(data);
    ++page->builds;
    PAGE_AREA* area = manager->current_area_object;
    for (INT_S32 i = 0; i < page->objects && i < 8; ++i) {
        std::string name = page->name + std::to_string(i);
        page->made[i] = new PROBE(name.c_str(), area->x + 10, area->y + 10 + 30 * i, 60, 20, page->fill, page->focusable);
        area->add_child(page->made[i], false);
    }
}

void test_page_free(PTR_INT_CAST* data)
{
    TEST_PAGE* page = reinterpret_cast<TEST_PAGE*>(*data);
    ++page->frees;
}

INT_S32 test_page_tick(PTR_INT_CAST data)
{
    TEST_PAGE* page = reinterpret_cast<TEST_PAGE*>(data);
    ++page->ticks;
    return page->tick_code;
}

void test_page_leave(PTR_INT_CAST data)
{
    TEST_PAGE* page = reinterpret_cast<TEST_PAGE*>(data);
    ++page->leaves;
    for (PROBE*& made : page->made)
        made = nullptr;
}
