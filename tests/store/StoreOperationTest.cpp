// The frame of an operation: the switches it reads come from one file, even
// when the store is replaced while it runs.
#include <unistd.h>

#include "store/StoreFixture.h"
#include "store/StoreOperation.h"

namespace CorvTest {
namespace {

class StoreOperationTest : public StoreFixture {
 protected:
  // A new store under the same name, with notification on.
  void ReplaceStoreWithNotificationOn() {
    for (const char* suffix : {"", "-wal", "-shm"}) unlink((env_.StorePath() + suffix).c_str());
    ASSERT_TRUE(env_.ProvisionStore());
    EnableNotification();
  }
};

TEST_F(StoreOperationTest, AnOperationReadsItsSwitchesFromTheFileItFoundFirst) {
  {
    CorvConfigStore::StoreOperation op(3, "Set", Id("motd", "sys"), CorvConfigStore::EXTERNAL);
    EXPECT_FALSE(op.Context().Boot());
    ReplaceStoreWithNotificationOn();
    EXPECT_FALSE(CorvConfigStore::IsNexdNotificationEnabled());
  }
  EXPECT_TRUE(CorvConfigStore::IsNexdNotificationEnabled());
}

TEST_F(StoreOperationTest, OutsideAnOperationEachSwitchReadFindsTheFileAnew) {
  EXPECT_FALSE(CorvConfigStore::IsBoot());
  ReplaceStoreWithNotificationOn();
  EXPECT_TRUE(CorvConfigStore::IsNexdNotificationEnabled());
}

}  // namespace
}  // namespace CorvTest
