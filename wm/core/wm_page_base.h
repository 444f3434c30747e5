// WM_PAGE_BASE: a page as an object. A subclass writes `build` (and whatever else it needs);
// `enter` makes the object the pending page of an area, after which it belongs to the history
// and is deleted when its entry is dropped. Two page objects are the same page when their ids
// agree, so that entering a page again replaces it instead of stacking it.
//
//     class LICENCE_PAGE : public WM_PAGE_BASE {
//         void build(WM_PAGE_MANAGER* manager) override { add_object(new ..., true); }
//     };
//     (new LICENCE_PAGE(4))->enter(0, manager, true, false, 4);   // then return WM_ACTION_PAGE
#pragma once

#include "base/orlu_types.h"

class WM_PAGE_MANAGER;
class WM_SCREEN_OBJECT;

class WM_PAGE_BASE {
public:
    // area -1: the area being serviced when the page is built. A null manager takes the one page
    // manager.
    explicit WM_PAGE_BASE(INT_U32 id = 0, INT_S32 area = -1, WM_PAGE_MANAGER* manager = nullptr);
    virtual ~WM_PAGE_BASE() = default;
    WM_PAGE_BASE(const WM_PAGE_BASE&) = delete;
    WM_PAGE_BASE& operator=(const WM_PAGE_BASE&) = delete;

    // add_child and remove_child on the page's area.
    virtual void add_object(WM_SCREEN_OBJECT* object, bool relative);
    virtual void remove_object(WM_SCREEN_OBJECT* object, bool destroy, bool relative);
    // The area's size.
    [[nodiscard]] virtual INT_S32 get_width();
    [[nodiscard]] virtual INT_S32 get_height();
    // Called as the page's tick (only when entered with_tick). Answers an action code.
    virtual INT_S32 tick();
    // Called before the page's objects are destroyed.
    virtual void leave();
    // Whether the other page is this one: the ids agree.
    [[nodiscard]] virtual bool is_same(const WM_PAGE_BASE* other) const;
    // Called when the page leaves the history for good, just before it is deleted.
    virtual void on_leave();
    // Makes the page's objects.
    virtual void build(WM_PAGE_MANAGER* manager) = 0;
    // Overridden, it replaces build; the default answers false and build is called instead.
    virtual bool build_custom(WM_PAGE_MANAGER* manager);

    // Makes this object the pending page of the area (-1: the current one). store: it stays in
    // the history when another page follows; with_tick: `tick` runs each timer tick. False (and
    // the object is not taken) without a page manager or with an area out of range.
    bool enter(INT_S32 area, WM_PAGE_MANAGER* manager, bool store, bool with_tick, INT_U32 id);

    INT_U32 id { 0 };
    INT_S32 area { -1 };
    WM_PAGE_MANAGER* manager { nullptr };

private:
    [[nodiscard]] WM_SCREEN_OBJECT* area_object() const;
};
