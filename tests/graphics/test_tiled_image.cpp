// TILED_IMAGE: layouts, proportional edges, composites, overlays, hit testing and filters, over a
// small in-memory store of pieces.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "graphics/tiled_image.h"
#include "pixel_checks.h"

namespace {

COLOUR rgba(INT_U8 r, INT_U8 g, INT_U8 b, INT_U8 a) { return COLOUR::from_channels(r, g, b, a); }

// Pictures by name; every hand-out is the store's own copy, so holders never share by accident.
class TEST_STORE : public IMAGE_STORE {
public:
    void add(const std::string& name, INT_S16 width, INT_S16 height, COLOUR colour)
    {
        auto image = std::make_unique<IMAGE>(width, height);
        image->fill(colour);
        m_files[name] = std::move(image);
    }
    IMAGE* file(const std::string& name) { return m_files[name].get(); }

    IMAGE* get(const char* folder, const char* name, INT_S16, INT_S16, INT_U32) override
    {
        ++gets;
        last_folder = folder ? folder : "";
        auto found = m_files.find(name);
        if (found == m_files.end())
            return nullptr;
        return copy_of(found->second.get(), found->second->width, found->second->height);
    }
    IMAGE* add_reference(IMAGE* image) override
    {
        ++m_references[image];
        return image;
    }
    void release_image(IMAGE* image) override
    {
        ++releases;
        --m_references[image];
    }
    void resize(IMAGE** image, INT_S16 width, INT_S16 height, bool) override
    {
        ++resizes;
        IMAGE* sized = copy_of(*image, (*image)->width, (*image)->height);
        sized->scale(width, height, false);
        release_image(*image);
        *image = sized;
    }
    void make_private(IMAGE** image) override
    {
        ++privates;
        IMAGE* own = copy_of(*image, (*image)->width, (*image)->height);
        release_image(*image);
        *image = own;
    }
    // References still held.
    int held() const
    {
        int total = 0;
        for (const auto& entry : m_references)
            total += entry.second;
        return total;
    }

    int gets { 0 };
    int resizes { 0 };
    int releases { 0 };
    int privates { 0 };
    std::string last_folder;

private:
    IMAGE* copy_of(const IMAGE* from, INT_S16 width, INT_S16 height)
    {
        m_made.push_back(std::make_unique<IMAGE>(width, height));
        IMAGE* image = m_made.back().get();
        from->draw(0, 0, image, BLIT_COPY);
        m_references[image] = 1;
        return image;
    }

    std::map<std::string, std::unique_ptr<IMAGE>> m_files;
    std::vector<std::unique_ptr<IMAGE>> m_made;
    std::map<IMAGE*, int> m_references;
};

const COLOUR CORNER = rgba(255, 0, 0, 255);
const COLOUR EDGE_H = rgba(0, 255, 0, 255);
const COLOUR EDGE_V = rgba(0, 0, 255, 255);
const COLOUR MIDDLE = rgba(255, 255, 255, 255);

void add_nine(TEST_STORE& store, const char* base, INT_S16 edge)
{
    std::string b = base;
    for (const char* corner : { "_top_left", "_top_right", "_bottom_left", "_bottom_right" })
        store.add(b + corner, edge, edge, CORNER);
    store.add(b + "_top_mid", 4, edge, EDGE_H);
    store.add(b + "_bottom_mid", 4, edge, EDGE_H);
    store.add(b + "_mid_left", edge, 4, EDGE_V);
    store.add(b + "_mid_right", edge, 4, EDGE_V);
    store.add(b + "_mid_mid", 4, 4, MIDDLE);
}

} // namespace

TEST(TILED_IMAGE, nothing_without_a_store_or_a_layout)
{
    TILED_IMAGE none;
    EXPECT_FALSE(none.load("/skins", "button", 0));
    IMAGE target(4, 4);
    target.clear_dirty();
    none.draw(0, 0, 3, 3, false, &target, BLIT_COPY, true);
    EXPECT_FALSE(target.is_dirty());

    TEST_STORE store;
    store.add("panel_mid", 2, 2, MIDDLE);
    TILED_IMAGE element(&store);
    EXPECT_FALSE(element.load("/skins", "panel", 0));
    EXPECT_FALSE(element.is_loaded());
    EXPECT_EQ(store.last_folder, "/skins");
}

TEST(TILED_IMAGE, nine_pieces_shrink_edges_in_proportion)
{
    TEST_STORE store;
    add_nine(store, "box", 10);
    TILED_IMAGE element(&store);
    ASSERT_TRUE(element.load("", "box", 0));
    EXPECT_EQ(element.layout(), TILED_IMAGE::LAYOUT_NINE);
    IMAGE target(15, 15);
    element.draw(0, 0, 14, 14, false, &target, BLIT_COPY, true);
    // Edges of 10 + 10 in 15 pixels become 7 + 7, leaving a one-pixel middle.
    expect_pixels(target, { { 0, 0, CORNER }, { 6, 6, CORNER }, { 8, 8, CORNER }, { 7, 7, MIDDLE }, { 7, 0, EDGE_H },
        { 7, 14, EDGE_H }, { 0, 7, EDGE_V }, { 14, 7, EDGE_V } });
    EXPECT_EQ(element.top_left->width, 7);
}

TEST(TILED_IMAGE, nine_pieces_repeat_edges_and_middle)
{
    TEST_STORE store;
    add_nine(store, "box", 2);
    TILED_IMAGE element(&store);
    ASSERT_TRUE(element.load("", "box", 0));
    IMAGE target(20, 12);
    target.set_clip(0, 0, 19, 10);
    element.draw(1, 1, 11, 9, false, &target, BLIT_COPY, true);
    for (INT_S32 y = 0; y < 12; ++y)
        for (INT_S32 x = 0; x < 20; ++x) {
            COLOUR expected = COLOUR_INVISIBLE;
            bool inside = x >= 1 && x <= 11 && y >= 1 && y <= 9;
            bool left_or_right = x <= 2 || x >= 10;
            bool top_or_bottom = y <= 2 || y >= 8;
            if (inside)
                expected = left_or_right && top_or_bottom ? CORNER
                    : top_or_bottom                      ? EDGE_H
                    : left_or_right                      ? EDGE_V
                                                         : MIDDLE;
            ASSERT_EQ(target.at(x, y), expected) << x << "," << y;
        }
    // The clip narrowed for the middle is put back.
    EXPECT_EQ(target.clip_bottom, 10);
    EXPECT_EQ(target.clip_right, 19);
}

TEST(TILED_IMAGE, three_pieces_across_or_down_repeat_the_middle_and_cut_the_last)
{
    TEST_STORE store;
    store.add("bar_left", 4, 5, CORNER);
    store.add("bar_right", 4, 5, EDGE_V);
    store.add("bar_mid", 3, 5, MIDDLE);
    IMAGE* mid = store.file("bar_mid");
    mid->at(1, 0) = EDGE_H;
    TILED_IMAGE element(&store);
    ASSERT_TRUE(element.load("", "bar", 0));
    EXPECT_EQ(element.layout(), TILED_IMAGE::LAYOUT_HORIZONTAL_THREE);
    IMAGE target(20, 6);
    element.draw(0, 0, 19, 5, false, &target, BLIT_COPY, true);
    expect_pixels(target, { { 3, 5, CORNER }, { 16, 5, EDGE_V }, { 4, 0, MIDDLE }, { 5, 0, EDGE_H }, { 14, 0, EDGE_H },
        { 15, 0, MIDDLE } });
    // Pieces took the area's height.
    EXPECT_EQ(element.left->height, 6);
    EXPECT_EQ(element.mid->height, 6);

    store.add("col_top", 3, 2, CORNER);
    store.add("col_bottom", 3, 2, EDGE_V);
    store.add("col_mid", 3, 1, MIDDLE);
    TILED_IMAGE column(&store);
    ASSERT_TRUE(column.load("", "col", 0));
    IMAGE tall(5, 8);
    column.draw(0, 0, 4, 7, false, &tall, BLIT_COPY, true);
    expect_pixels(tall, { { 4, 1, CORNER }, { 4, 4, MIDDLE }, { 0, 6, EDGE_V } });
}

TEST(TILED_IMAGE, one_piece_is_centred_cut_or_stretched)
{
    TEST_STORE store;
    store.add("logo", 4, 4, CORNER);
    TILED_IMAGE element(&store);
    ASSERT_TRUE(element.load("", "logo", 0));
    EXPECT_EQ(element.layout(), TILED_IMAGE::LAYOUT_ONE);
    IMAGE target(10, 10);
    element.draw(0, 0, 9, 9, false, &target, BLIT_COPY, true);
    expect_pixels(target, { { 2, 2, COLOUR_INVISIBLE }, { 3, 3, CORNER }, { 6, 6, CORNER },
        { 7, 7, COLOUR_INVISIBLE } });

    IMAGE small(6, 6);
    element.draw(2, 2, 3, 3, false, &small, BLIT_COPY, true);
    expect_pixels(small, { { 2, 2, CORNER }, { 1, 1, COLOUR_INVISIBLE }, { 4, 4, COLOUR_INVISIBLE } });

    IMAGE stretched(10, 10);
    element.draw(0, 0, 9, 9, true, &stretched, BLIT_COPY, true);
    EXPECT_EQ(stretched.at(0, 0), CORNER);
    EXPECT_EQ(stretched.at(9, 9), CORNER);
}

TEST(TILED_IMAGE, composite_is_reused_until_the_size_changes_or_a_filter_runs)
{
    TEST_STORE store;
    store.add("logo", 2, 2, rgba(200, 100, 50, 255));
    TILED_IMAGE element(&store);
    ASSERT_TRUE(element.load("", "logo", 0));
    IMAGE target(4, 4);
    element.draw(0, 0, 1, 1, false, &target, BLIT_COPY, false);
    ASSERT_NE(element.composite, nullptr);
    EXPECT_EQ(target.at(1, 1), rgba(200, 100, 50, 255));
    // Painted behind the element's back: the composite still shows the old picture.
    element.mid->fill(COLOUR_BLUE);
    element.draw(2, 2, 3, 3, false, &target, BLIT_COPY, false);
    EXPECT_EQ(target.at(2, 2), rgba(200, 100, 50, 255));

    element.greyscale();
    EXPECT_EQ(store.privates, 1);
    element.draw(0, 0, 1, 1, false, &target, BLIT_COPY, false);
    EXPECT_EQ(target.at(0, 0), rgba(28, 28, 28, 255)); // blue's luminance, 11 * 255 / 100

    // A new size repaints: the 2x2 picture sits at (0, 0) of the 3x3 composite, whose uncovered
    // pixels are copied as they are, transparent.
    element.mid->fill(COLOUR_RED);
    element.draw(0, 0, 2, 2, false, &target, BLIT_COPY, false);
    expect_pixels(target, { { 0, 0, COLOUR_RED }, { 1, 1, COLOUR_RED }, { 2, 2, COLOUR_INVISIBLE } });
}

TEST(TILED_IMAGE, apply_shape_cuts_alpha_to_the_outline)
{
    TEST_STORE store;
    store.add("round", 2, 2, rgba(0, 0, 0, 255));
    store.file("round")->at(0, 0) = COLOUR_INVISIBLE;
    store.file("round")->at(1, 1) = rgba(0, 0, 0, 128);
    TILED_IMAGE element(&store);
    ASSERT_TRUE(element.load("", "round", 0));
    IMAGE target(2, 2);
    target.fill(rgba(9, 9, 9, 200));
    element.apply_shape(0, 0, 1, 1, false, &target);
    EXPECT_EQ(target.at(0, 0), rgba(9, 9, 9, 0));
    EXPECT_EQ(target.at(1, 0), rgba(9, 9, 9, 200));
    EXPECT_EQ(target.at(1, 1), rgba(9, 9, 9, 200 * 128 / 255));
}

TEST(TILED_IMAGE, overlays_are_drawn_on_top)
{
    TEST_STORE store;
    store.add("panel", 6, 6, rgba(0, 0, 0, 255));
    store.add("panel_colay", 2, 2, CORNER);
    store.add("panel_tolay", 1, 1, rgba(255, 255, 255, 128));
    TILED_IMAGE element(&store);
    ASSERT_TRUE(element.load("", "panel", 0));
    IMAGE target(6, 6);
    element.draw(0, 0, 5, 5, false, &target, BLIT_ALPHA, true);
    // The tiled overlay covers everything, the centre overlay included, at alpha 128.
    COLOUR on_centre = CORNER;
    blend_colour(on_centre, rgba(255, 255, 255, 128));
    COLOUR on_panel = rgba(0, 0, 0, 255);
    blend_colour(on_panel, rgba(255, 255, 255, 128));
    expect_pixels(target, { { 2, 2, on_centre }, { 3, 3, on_centre }, { 4, 4, on_panel }, { 0, 0, on_panel } });
}

TEST(TILED_IMAGE, solid_at_uses_piece_sizes_and_mid_pixel_zero)
{
    TEST_STORE store;
    add_nine(store, "box", 3);
    store.file("box_mid_mid")->at(0, 0) = COLOUR_INVISIBLE;
    store.file("box_top_left")->at(1, 1) = COLOUR_INVISIBLE;
    store.file("box_bottom_right")->at(2, 2) = COLOUR_INVISIBLE;
    TILED_IMAGE element(&store);
    ASSERT_TRUE(element.load("", "box", 0));
    EXPECT_FALSE(element.solid_at(10, 10, 30, 30)); // over the middle: its pixel (0, 0)
    EXPECT_TRUE(element.solid_at(1, 15, 30, 30)); // left edge, its row 0
    EXPECT_FALSE(element.solid_at(1, 1, 30, 30));
    EXPECT_TRUE(element.solid_at(0, 0, 30, 30));
    EXPECT_FALSE(element.solid_at(29, 29, 30, 30));
    EXPECT_TRUE(element.solid_at(28, 28, 30, 30));
    EXPECT_TRUE(element.solid_at(15, 0, 30, 30));

    TEST_STORE one_store;
    one_store.add("dot", 2, 2, CORNER);
    TILED_IMAGE dot(&one_store);
    ASSERT_TRUE(dot.load("", "dot", 0));
    EXPECT_TRUE(dot.solid_at(4, 4, 10, 10));
    EXPECT_FALSE(dot.solid_at(2, 2, 10, 10));
}

TEST(TILED_IMAGE, copy_shares_pieces_and_free_releases_them)
{
    TEST_STORE store;
    add_nine(store, "box", 2);
    {
        TILED_IMAGE element(&store);
        ASSERT_TRUE(element.load("", "box", 0));
        TILED_IMAGE twin;
        twin.copy(element);
        EXPECT_EQ(twin.mid, element.mid);
        EXPECT_EQ(store.held(), 18);
    }
    EXPECT_EQ(store.held(), 0);
}
