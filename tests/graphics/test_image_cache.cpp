// IMAGE_CACHE: sharing, sizes, copy on write, flushing, the stream form; PANNING_IMAGE.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "base/error_report.h"
#include "io/folder.h"
#include "graphics/image.h"
#include "graphics/image_cache.h"
#include "memory_device.h"
#include "graphics/panning_image.h"
#include "test_support.h"

namespace {

class IMAGE_CACHE_TEST : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(folder.set_raw(temp.path().c_str()));
        write_picture("logo.png", 20, 10, COLOUR_GREEN);
    }

    // A PNG of one colour with a red top-left pixel.
    void write_picture(const char* name, INT_S16 width, INT_S16 height, const COLOUR& colour)
    {
        IMAGE image(width, height);
        image.fill(colour);
        image.at(0, 0) = COLOUR_RED;
        MEMORY_DEVICE device;
        ASSERT_TRUE(image.save_png(&device));
        ASSERT_TRUE(write_file(temp.file(name), std::string(device.bytes().begin(), device.bytes().end())));
    }

    TEMP_FOLDER temp;
    FOLDER folder;
    IMAGE_CACHE cache;
};

} // namespace

TEST_F(IMAGE_CACHE_TEST, same_name_and_folder_share_one_entry_and_names_compare_exactly)
{
    IMAGE* a = cache.get(folder, "logo", -1, -1, 0);
    IMAGE* b = cache.get(folder, "logo", -1, -1, 0);
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a, b);
    EXPECT_EQ(IMAGE_CACHE::entry_of(a)->ref_count, 2);
    EXPECT_EQ(a->width, 20);
    EXPECT_EQ(IMAGE_CACHE::base_width(a), 20);

    IMAGE* with_extension = cache.get(folder, "logo.png", -1, -1, 0);
    ASSERT_NE(with_extension, nullptr);
    EXPECT_NE(with_extension, a);

    TEMP_FOLDER other_temp;
    FOLDER other;
    ASSERT_TRUE(other.set_raw(other_temp.path().c_str()));
    ASSERT_TRUE(write_file(other_temp.file("logo.png"), read_file(temp.file("logo.png"))));
    IMAGE* elsewhere = cache.get(other, "logo", -1, -1, 0);
    ASSERT_NE(elsewhere, nullptr);
    EXPECT_NE(elsewhere, a);
    EXPECT_EQ(cache.entry_count(), 3);

    EXPECT_EQ(cache.add_reference(a), a);
    EXPECT_EQ(IMAGE_CACHE::entry_of(a)->ref_count, 3);
    IMAGE loose;
    EXPECT_EQ(cache.add_reference(&loose), nullptr);
}

TEST_F(IMAGE_CACHE_TEST, another_size_is_scaled_from_memory_and_any_size_takes_the_natural_one)
{
    IMAGE* natural = cache.get(folder, "logo", -1, -1, 0);
    ASSERT_NE(natural, nullptr);
    // With the file gone, a new size can only come from the entry in memory.
    ASSERT_EQ(remove(temp.file("logo.png").c_str()), 0);
    IMAGE* small = cache.get(folder, "logo", 50, 50, 0);
    ASSERT_NE(small, nullptr);
    EXPECT_NE(small, natural);
    EXPECT_EQ(small->width, 50);
    EXPECT_EQ(small->height, 50);
    EXPECT_EQ(IMAGE_CACHE::base_width(small), 20);
    EXPECT_EQ(natural->width, 20);

    EXPECT_EQ(cache.get(folder, "logo", 7, 7, CACHE_ANY_SIZE), natural);
    EXPECT_EQ(cache.get(folder, "logo", 50, 50, 0), small);
    EXPECT_EQ(cache.entry_count(), 2);
}

TEST_F(IMAGE_CACHE_TEST, look_only_creates_nothing_and_missing_files_follow_the_flags)
{
    EXPECT_EQ(cache.get(folder, "logo", -1, -1, CACHE_LOOK_ONLY), nullptr);
    EXPECT_EQ(cache.entry_count(), 0);

    // A missing file leaves an empty entry, which stops later requests from trying the file again.
    EXPECT_EQ(cache.get(folder, "absent", -1, -1, 0), nullptr);
    EXPECT_EQ(cache.entry_count(), 1);
    write_picture("absent.png", 4, 4, COLOUR_BLUE);
    EXPECT_EQ(cache.get(folder, "absent", -1, -1, 0), nullptr);
    EXPECT_EQ(cache.entry_count(), 1);

    EXPECT_EQ(cache.get(folder, "gone", -1, -1, CACHE_MUST_LOAD), nullptr);
    EXPECT_EQ(cache.entry_count(), 1);
    cache.set_release_when_unused(true);
    EXPECT_EQ(cache.get(folder, "gone", -1, -1, 0), nullptr);
    EXPECT_EQ(cache.entry_count(), 1);
}

TEST_F(IMAGE_CACHE_TEST, reload_flag_reads_the_file_again)
{
    IMAGE* image = cache.get(folder, "logo", -1, -1, 0);
    ASSERT_NE(image, nullptr);
    write_picture("logo.png", 20, 10, COLOUR_BLUE);
    EXPECT_EQ(image->at(5, 5).value, COLOUR_GREEN.value);
    EXPECT_EQ(cache.get(folder, "logo", -1, -1, CACHE_RELOAD), image);
    EXPECT_EQ(image->at(5, 5).value, COLOUR_BLUE.value);
}

TEST_F(IMAGE_CACHE_TEST, release_keeps_idle_entries_unless_told_to_drop_them)
{
    IMAGE* image = cache.get(folder, "logo", -1, -1, 0);
    cache.release(image);
    EXPECT_EQ(cache.entry_count(), 1);
    EXPECT_EQ(cache.get(folder, "logo", -1, -1, CACHE_LOOK_ONLY), image);
    cache.set_release_when_unused(true);
    cache.release(image);
    EXPECT_EQ(cache.entry_count(), 0);
    cache.release(static_cast<IMAGE*>(nullptr));
}

TEST_F(IMAGE_CACHE_TEST, filters_copy_a_shared_picture_so_other_holders_see_no_change)
{
    IMAGE* mine = cache.get(folder, "logo", -1, -1, 0);
    IMAGE* theirs = cache.get(folder, "logo", -1, -1, 0);
    ASSERT_TRUE(cache.tint(&mine, COLOUR_BLUE));
    ASSERT_NE(mine, theirs);
    EXPECT_EQ(theirs->at(5, 5).value, COLOUR_GREEN.value);
    EXPECT_NE(mine->at(5, 5).value, COLOUR_GREEN.value);
    EXPECT_EQ(IMAGE_CACHE::entry_of(theirs)->ref_count, 1);
    EXPECT_TRUE(IMAGE_CACHE::entry_of(mine)->modified);
    // A modified picture is never handed out by name.
    IMAGE* third = cache.get(folder, "logo", -1, -1, 0);
    EXPECT_EQ(third, theirs);

    // Even a sole holder gets a copy of the natural-size picture, which later requests scale from.
    cache.release(theirs);
    cache.release(third);
    IMAGE* only = cache.get(folder, "logo", -1, -1, 0);
    IMAGE* natural = only;
    ASSERT_TRUE(cache.greyscale(&only));
    EXPECT_NE(only, natural);
    EXPECT_EQ(natural->at(5, 5).value, COLOUR_GREEN.value);
    // A private picture stays private: a second filter works in place.
    IMAGE* before = only;
    ASSERT_TRUE(cache.replace_colour(&only, only->at(5, 5), COLOUR_WHITE, false));
    EXPECT_EQ(only, before);
    EXPECT_EQ(only->at(5, 5).value, COLOUR_WHITE.value);

    IMAGE loose(2, 2);
    IMAGE* loose_pointer = &loose;
    EXPECT_FALSE(cache.make_private(&loose_pointer));
}

TEST_F(IMAGE_CACHE_TEST, resize_shares_an_existing_size_and_never_scales_the_natural_entry)
{
    IMAGE* natural = cache.get(folder, "logo", -1, -1, 0);
    IMAGE* holder = cache.get(folder, "logo", -1, -1, 0);
    cache.resize(&holder, 40, 20, false);
    ASSERT_NE(holder, natural);
    EXPECT_EQ(holder->width, 40);
    EXPECT_EQ(natural->width, 20);
    EXPECT_EQ(IMAGE_CACHE::entry_of(natural)->ref_count, 1);

    IMAGE* second = cache.get(folder, "logo", -1, -1, 0);
    cache.resize(&second, 40, 20, false);
    EXPECT_EQ(second, holder);
    EXPECT_EQ(IMAGE_CACHE::entry_of(holder)->ref_count, 2);

    // Back to the natural size: the natural entry is shared again.
    cache.resize(&second, 20, 10, false);
    EXPECT_EQ(second, natural);
    EXPECT_EQ(IMAGE_CACHE::entry_of(holder)->ref_count, 1);

    // A sole holder of a scaled entry scales it in place.
    IMAGE* before = holder;
    cache.resize(&holder, 30, 30, false);
    EXPECT_EQ(holder, before);
    EXPECT_EQ(holder->width, 30);
    EXPECT_EQ(IMAGE_CACHE::entry_of(holder)->width, 30);

    cache.resize(&holder, -1, 5, false);
    EXPECT_EQ(holder->width, 30);
}

TEST_F(IMAGE_CACHE_TEST, flush_keeps_held_pictures_valid_and_a_new_request_loads_afresh)
{
    IMAGE* held = cache.get(folder, "logo", -1, -1, 0);
    IMAGE* idle = cache.get(folder, "logo.png", -1, -1, 0);
    cache.release(idle);
    cache.flush();
    EXPECT_EQ(cache.entry_count(), 1);
    EXPECT_TRUE(IMAGE_CACHE::entry_of(held)->stale);
    EXPECT_EQ(held->at(0, 0).value, COLOUR_RED.value);

    IMAGE* fresh = cache.get(folder, "logo", -1, -1, 0);
    ASSERT_NE(fresh, nullptr);
    EXPECT_NE(fresh, held);
    // The stale entry goes at its last release even though idle entries are normally kept.
    cache.release(held);
    EXPECT_EQ(cache.entry_count(), 1);
}

TEST_F(IMAGE_CACHE_TEST, stream_round_trip_skips_modified_entries)
{
    IMAGE* logo = cache.get(folder, "logo", -1, -1, 0);
    IMAGE* scaled = cache.get(folder, "logo", 5, 5, 0);
    IMAGE* tinted = cache.get(folder, "logo", -1, -1, 0);
    ASSERT_TRUE(cache.tint(&tinted, COLOUR_RED));
    ASSERT_NE(scaled, nullptr);
    EXPECT_EQ(cache.entry_count(), 3);

    MEMORY_DEVICE device;
    ASSERT_TRUE(cache.put_to_data_device(&device));
    // Version, then the count of what follows.
    ASSERT_GE(device.bytes().size(), 5u);
    EXPECT_EQ(device.bytes()[0], 2);
    INT_S32 count = 0;
    memcpy(&count, device.bytes().data() + 1, 4);
    EXPECT_EQ(count, 2);

    IMAGE_CACHE copy;
    device.rewind();
    ASSERT_TRUE(copy.get_from_data_device(&device));
    ASSERT_EQ(copy.entry_count(), 2);
    IMAGE_CACHE_ENTRY* first = copy.entry_at(0);
    EXPECT_STREQ(first->name, "logo");
    EXPECT_STREQ(first->path, folder.path());
    EXPECT_EQ(first->ref_count, 0);
    EXPECT_EQ(first->image.cache_entry, first);
    EXPECT_EQ(first->image.at(0, 0).value, logo->at(0, 0).value);
    EXPECT_EQ(copy.entry_at(1)->width, 5);
    // A request is answered from the stream, without the file.
    ASSERT_EQ(remove(temp.file("logo.png").c_str()), 0);
    EXPECT_EQ(copy.get(folder, "logo", 5, 5, 0), &copy.entry_at(1)->image);

    // In the opposite byte order too.
    MEMORY_DEVICE swapped;
    swapped.swap_bytes = 1;
    ASSERT_TRUE(cache.put_to_data_device(&swapped));
    swapped.rewind();
    IMAGE_CACHE again;
    ASSERT_TRUE(again.get_from_data_device(&swapped));
    EXPECT_EQ(again.entry_count(), 2);
    EXPECT_EQ(again.entry_at(0)->image.at(0, 0).value, logo->at(0, 0).value);
}

TEST_F(IMAGE_CACHE_TEST, stream_refuses_unknown_versions_bad_names_and_truncation)
{
    ASSERT_NE(cache.get(folder, "logo", -1, -1, 0), nullptr);
    MEMORY_DEVICE device;
    ASSERT_TRUE(cache.put_to_data_device(&device));
    std::string bytes(device.bytes().begin(), device.bytes().end());

    IMAGE_CACHE reader;
    std::string later = bytes;
    later[0] = 3;
    MEMORY_DEVICE later_device(later);
    EXPECT_FALSE(reader.get_from_data_device(&later_device));

    std::string long_name = bytes;
    INT_S32 huge = 0x7FFFFFF0;
    memcpy(&long_name[5 + 2048], &huge, 4);
    MEMORY_DEVICE long_device(long_name);
    EXPECT_FALSE(reader.get_from_data_device(&long_device));
    EXPECT_EQ(last_error_code(), ERROR_READ);

    for (size_t cut : { size_t(3), size_t(100), size_t(2060), bytes.size() - 1 }) {
        MEMORY_DEVICE truncated(bytes.substr(0, cut));
        EXPECT_FALSE(reader.get_from_data_device(&truncated)) << cut;
    }
    EXPECT_EQ(reader.entry_count(), 0);

    // A count below 1 reads as an empty cache.
    std::string none("\x02\x00\x00\x00\x00", 5);
    MEMORY_DEVICE none_device(none);
    EXPECT_TRUE(reader.get_from_data_device(&none_device));
}

TEST_F(IMAGE_CACHE_TEST, panning_view_zigzags_and_returns_home_after_one_period)
{
    write_picture("sky.png", 40, 30, COLOUR_BLUE);
    PANNING_IMAGE view;
    ASSERT_TRUE(view.open(0, 0, 20, 10, folder, "sky", 10000, 0, 0, &cache));
    ASSERT_NE(view.image(), nullptr);
    EXPECT_EQ(view.image()->width, 40);
    EXPECT_EQ(view.image()->height, 20);
    EXPECT_EQ(IMAGE_CACHE::entry_of(view.image())->ref_count, 1);

    // Horizontal range 20, vertical range 10, half period 5000.
    view.restart(1000);
    EXPECT_EQ(view.offset_x(), 0);
    EXPECT_EQ(view.offset_y(), 5);
    EXPECT_TRUE(view.update(3500));
    EXPECT_EQ(view.offset_x(), 10);
    EXPECT_EQ(view.offset_y(), 10);
    EXPECT_TRUE(view.update(6000));
    EXPECT_EQ(view.offset_x(), 20);
    EXPECT_EQ(view.offset_y(), 5);
    view.update(8500);
    EXPECT_EQ(view.offset_x(), 10);
    EXPECT_TRUE(view.update(11000));
    EXPECT_EQ(view.offset_x(), 0);
    EXPECT_FALSE(view.update(11000));

    IMAGE target(20, 10);
    view.draw(&target);
    EXPECT_EQ(target.at(3, 3).value, COLOUR_BLUE.value);

    view.close();
    EXPECT_EQ(cache.entry_at(0)->ref_count, 0);

    PANNING_IMAGE still;
    ASSERT_TRUE(still.open(0, 0, 20, 10, folder, "sky", 0, 40, 30));
    EXPECT_FALSE(still.update(5000));
    EXPECT_EQ(still.offset_y(), 10);
}
