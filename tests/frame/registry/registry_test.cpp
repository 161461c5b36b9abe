// The shared lifetime and interface identifiers, in process; the registry
// itself is tested through the exports (exports_test.cpp).
#include <gtest/gtest.h>

#include "frame/interface_id_text.h"
#include "frame/object_registry.h"
#include "frame/shared_instance.h"

namespace {

struct Tracked {
  Tracked() { ++made; }
  ~Tracked() { ++gone; }
  static inline int made = 0;
  static inline int gone = 0;
};

TEST(SharedInstance, LivesFromTheFirstHandleToTheLastAndIsRebuiltAfter) {
  EXPECT_EQ(kel::SharedInstance<Tracked>::Handles(), 0);
  {
    kel::SharedHandle<Tracked> a;
    Tracked* object = a.get();
    ASSERT_NE(object, nullptr);
    {
      kel::SharedHandle<Tracked> b;
      EXPECT_EQ(b.get(), object);
      EXPECT_EQ(kel::SharedInstance<Tracked>::Handles(), 2);
    }
    EXPECT_EQ(Tracked::gone, 0);
  }
  EXPECT_EQ(Tracked::made, 1);
  EXPECT_EQ(Tracked::gone, 1);
  EXPECT_EQ(kel::SharedInstance<Tracked>::Get(), nullptr);
  kel::SharedHandle<Tracked> again;
  EXPECT_EQ(Tracked::made, 2);
}

TEST(InterfaceIdText, ReadsAndWritesTheStandardLayoutAndRefusesMalformedText) {
  EXPECT_EQ(kel::InterfaceIdToText(IID_IKelBaseInterface), L"66551ab3-fca3-bc90-5f42-c5f792e24b51");
  kel::InterfaceId id{};
  ASSERT_TRUE(kel::InterfaceIdFromText(L"{81FB569D-DDC6-474F-A64C-75F400002353}", id));
  EXPECT_EQ(id.low, 0x474fddc681fb569dull);
  EXPECT_EQ(id.high, 0x53230000f4754ca6ull);
  EXPECT_EQ(kel::InterfaceIdToText(id), L"81fb569d-ddc6-474f-a64c-75f400002353");
  for (const wchar_t* bad :
       {L"", L"66551ab3-fca3-bc90-5f42-c5f792e24b5", L"66551ab3-fca3-bc90-5f42-c5f792e24b511",
        L"66551ab3xfca3-bc90-5f42-c5f792e24b51", L"g6551ab3-fca3-bc90-5f42-c5f792e24b51",
        L"{66551ab3-fca3-bc90-5f42-c5f792e24b51"}) {
    EXPECT_FALSE(kel::InterfaceIdFromText(bad, id)) << std::wstring(bad).size();
  }
  EXPECT_EQ(id.low, 0x474fddc681fb569dull) << "a refused text leaves the target";
}

}  // namespace
