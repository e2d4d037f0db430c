// The server's value lists, which every call reuses: what one call left must never show
// in the next one's values.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "server/svr_values.h"
#include "ztint_utils/ztint_objects.h"

namespace {

constexpr ZTInt_rpc_type kFour[] = {ZTInt_rpc_type_int, ZTInt_rpc_type_String, ZTInt_rpc_type_StringArray,
                                    ZTInt_rpc_type_First_Object + 2, 0};
constexpr ZTInt_rpc_type kOne[] = {ZTInt_rpc_type_status, 0};

void Expect_Nil(const Svr_Values& values)
{
    EXPECT_EQ(values.Number(0), 0);
    EXPECT_STREQ(values.Text(1), "");
    EXPECT_TRUE(values.Texts(2).empty());
    EXPECT_EQ(values.Object(3).Type, 0);
    EXPECT_EQ(values.Object(3).Id, 0u);
}

TEST(Svr_Values_Test, StartingOverClearsWhatTheListsBeforeHeld)
{
    Svr_Values values(kFour, 4);
    Svr_Values other(kFour, 4);
    values.Set_Number(0, 7);
    values.Set_Text(1, "left over");
    values.Set_Texts(2, {"a", "b"});
    values.Set_Object(3, {22, 0, 9, 1});
    // A shorter list in between, and a text moved in from another list.
    values.Reset(kOne, 1);
    values.Set_Number(0, -1);
    other.Set_Text(1, "moved");
    values.Move_Text(1, other, 1);
    values.Reset(kFour, 4);
    Expect_Nil(values);
    EXPECT_STREQ(other.Text(1), "");
    // Texts written through the decoder's pointers go too.
    void* const* pointers = values.Pointers();
    *static_cast<int32_t*>(pointers[0]) = 5;
    values.Reset(kOne, 1);
    values.Reset(kFour, 4);
    Expect_Nil(values);
}

}  // namespace
