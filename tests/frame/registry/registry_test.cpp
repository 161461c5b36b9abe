// The registry and its shared lifetime, in process.
#include <gtest/gtest.h>

#include "frame/interface_id_text.h"
#include "frame/object_registry.h"
#include "frame/shared_instance.h"

namespace {

class NullConstructor final : public IObjectConstructor {
 public:
  IKelBaseInterface* Create() override { return nullptr; }
  void Destroy(IKelBaseInterface*) override {}
};

TEST(ObjectRegistry, SecondRegistrationOfANameIsRefusedAndKeepsTheFirst) {
  ObjectRegistryHandle registry;
  NullConstructor first, second;
  EXPECT_EQ(RegisterObjectConstructor(L"Unit.Name", &first), 0u);
  EXPECT_EQ(RegisterObjectConstructor(L"Unit.Name", &second), 183u);
  EXPECT_EQ(RegisterObjectConstructor(L"unit.name", &second), 0u) << "names are case-sensitive";
  registry->WithConstructor(L"Unit.Name", [&](IObjectConstructor* c) {
    EXPECT_EQ(c, &first);
    return 0;
  });
  registry->WithConstructor(L"Unit.Nam", [&](IObjectConstructor* c) {
    EXPECT_EQ(c, nullptr);
    return 0;
  });
}

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

TEST(InterfaceIdText, TableIdentifiersReadAndWriteInStandardLayout) {
  EXPECT_EQ(kel::InterfaceIdToText(IID_IKelBaseInterface), L"66551ab3-fca3-bc90-5f42-c5f792e24b51");
  kel::InterfaceId id{};
  ASSERT_TRUE(kel::InterfaceIdFromText(L"{81FB569D-DDC6-474F-A64C-75F400002353}", id));
  EXPECT_EQ(id.low, 0x474fddc681fb569dull);
  EXPECT_EQ(id.high, 0x53230000f4754ca6ull);
  EXPECT_EQ(kel::InterfaceIdToText(id), L"81fb569d-ddc6-474f-a64c-75f400002353");
}

TEST(InterfaceIdText, MalformedTextIsRefusedAndLeavesTheTarget) {
  kel::InterfaceId id{7, 7};
  for (const wchar_t* bad :
       {L"", L"{}", L"66551ab3-fca3-bc90-5f42-c5f792e24b5",
        L"66551ab3-fca3-bc90-5f42-c5f792e24b511", L"66551ab3xfca3-bc90-5f42-c5f792e24b51",
        L"g6551ab3-fca3-bc90-5f42-c5f792e24b51", L"{66551ab3-fca3-bc90-5f42-c5f792e24b51"}) {
    EXPECT_FALSE(kel::InterfaceIdFromText(bad, id)) << std::wstring(bad).size();
  }
  EXPECT_EQ(id.low, 7u);
  EXPECT_EQ(id.high, 7u);
}

}  // namespace
