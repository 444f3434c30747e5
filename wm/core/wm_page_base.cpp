// WM_PAGE_BASE and the page functions that stand for it in the history.

#include "wm/core/wm_page_base.h"

#include "wm/core/wm_page_manager.h"

namespace {

WM_PAGE_BASE* page_of(PTR_INT_CAST data)
{
    return reinterpret_cast<WM_PAGE_BASE*>(data);
}

void page_build(WM_PAGE_MANAGER* manager, PTR_INT_CAST data)
{
    WM_PAGE_BASE* page = page_of(data);
    if (!page->build_custom(manager))
        page->build(manager);
}

void page_free(PTR_INT_CAST* data)
{
    WM_PAGE_BASE* page = page_of(*data);
    *data = 0;
    if (!page)
        return;
    page->on_leave();
    delete page;
}

INT_S32 page_tick(PTR_INT_CAST data)
{
    return page_of(data)->tick();
}

void page_leave(PTR_INT_CAST data)
{
    page_of(data)->leave();
}

bool page_same(PTR_INT_CAST a, PTR_INT_CAST b)
{
    return a == b || (a && b && page_of(a)->is_same(page_of(b)));
}

} // namespace

WM_PAGE_BASE::WM_PAGE_BASE(INT_U32 id_in, INT_S32 area_in, WM_PAGE_MANAGER* manager_in)
    : id(id_in)
    , area(area_in)
    , manager(manager_in ? manager_in : wm_toolkit.page_manager)
{
}

WM_SCREEN_OBJECT* WM_PAGE_BASE::area_object() const
{
    if (!manager || manager->area_count < 1)
        return nullptr;
    INT_S32 index = area == -1 ? manager->current_area : area;
    return index >= 0 && index < manager->area_count ? manager->areas[index] : nullptr;
}

void WM_PAGE_BASE::add_object(WM_SCREEN_OBJECT* object, bool relative)
{
    if (WM_SCREEN_OBJECT* target = area_object())
        target->add_child(object, relative);
}

void WM_PAGE_BASE::remove_object(WM_SCREEN_OBJECT* object, bool destroy, bool relative)
{
    if (WM_SCREEN_OBJECT* target = area_object())
        target->remove_child(object, destroy, relative);
}

INT_S32 WM_PAGE_BASE::get_width()
{
    WM_SCREEN_OBJECT* target = area_object();
    return target ? target->get_width() : 0;
}

INT_S32 WM_PAGE_BASE::get_height()
{
    WM_SCREEN_OBJECT* target = area_object();
    return target ? target->get_height() : 0;
}

INT_S32 WM_PAGE_BASE::tick()
{
    return 0;
}

void WM_PAGE_BASE::leave() {}

bool WM_PAGE_BASE::is_same(const WM_PAGE_BASE* other) const
{
    return other && other->id == id;
}

void WM_PAGE_BASE::on_leave() {}

bool WM_PAGE_BASE::build_custom(WM_PAGE_MANAGER*)
{
    return false;
}

bool WM_PAGE_BASE::enter(INT_S32 area_in, WM_PAGE_MANAGER* manager_in, bool store, bool with_tick, INT_U32 id_in)
{
    WM_PAGE_MANAGER* target = manager_in ? manager_in : manager;
    if (!target)
        return false;
    INT_S32 index = area_in == -1 ? target->current_area : area_in;
    if (index < 0 || index >= target->area_count)
        return false;
    manager = target;
    area = index;
    id = id_in;
    target->set_page(index, page_build, page_free, reinterpret_cast<PTR_INT_CAST>(this), with_tick ? page_tick : nullptr,
        store, id_in, page_leave);
    // set_page leaves the comparison to the plain data words; page objects compare by id.
    target->areas[index]->pending.same_page = page_same;
    return true;
}
