#include <gtest/gtest.h>

#include <utility>

#include "platform/Com.h"
#include "platform/ComPtr.h"

namespace {

using platform::ComPtr;

// A COM-shaped object that counts its references and never deletes itself, so that the count
// can be read after the last Release.
struct Counted {
    platform::ULONG AddRef() { return ++refs; }
    platform::ULONG Release() { return --refs; }
    platform::ULONG refs = 1;  // as a fresh `new` object starts
};

TEST(ComPtr, AdoptedFreshObjectIsReleasedOnceAtTheEnd) {
    Counted object;
    {
        const auto held = ComPtr<Counted>::adopt(&object);
        EXPECT_EQ(object.refs, 1u) << "adopting adds no reference";
        EXPECT_EQ(held.get(), &object);
    }
    EXPECT_EQ(object.refs, 0u);
}

TEST(ComPtr, EachCopyHoldsAReferenceOfItsOwn) {
    Counted object;
    const auto first = ComPtr<Counted>::adopt(&object);
    {
        const ComPtr<Counted> copied = first;
        EXPECT_EQ(object.refs, 2u);
        ComPtr<Counted> assigned;
        assigned = copied;
        EXPECT_EQ(object.refs, 3u);
        const ComPtr<Counted> fromRaw(&object);
        EXPECT_EQ(object.refs, 4u);
    }
    EXPECT_EQ(object.refs, 1u);
}

TEST(ComPtr, MoveHandsTheReferenceOnAndResetGivesItBackOnce) {
    Counted object;
    auto first = ComPtr<Counted>::adopt(&object);
    ComPtr<Counted> second = std::move(first);
    ComPtr<Counted> third;
    third = std::move(second);
    EXPECT_EQ(object.refs, 1u);
    EXPECT_FALSE(first);
    EXPECT_FALSE(second);
    third.reset();
    EXPECT_EQ(object.refs, 0u);
    third.reset();
    EXPECT_EQ(object.refs, 0u) << "a second reset releases nothing";
}

TEST(ComPtr, AssigningAnotherObjectReleasesTheOneHeld) {
    Counted before, after;
    auto held = ComPtr<Counted>::adopt(&before);
    held = ComPtr<Counted>::adopt(&after);
    EXPECT_EQ(before.refs, 0u);
    EXPECT_EQ(after.refs, 1u);
    Counted* const raw = held.detach();
    EXPECT_EQ(raw, &after);
    EXPECT_FALSE(held);
    held.reset();
    EXPECT_EQ(after.refs, 1u) << "a detached reference is the caller's to give back";
}

}  // namespace
