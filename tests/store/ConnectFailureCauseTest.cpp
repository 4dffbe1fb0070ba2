// A store that cannot be connected to says why, beside the fixed message.
#include "StoreFixture.h"
#include "store/GetDBStore.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

using ConnectFailureCauseTest = StoreFixture;

// The details of the failure to open the store at path.
std::vector<std::string> ConnectFailureDetails(const std::string& path) {
  ScopedEnv store("CORV_CONFIGSTORE_DB", path);
  try {
    ConfigStore::GetStore("");
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(2000, e.GetErrorCode());
    EXPECT_STREQ("Failed to connect to database", e.what());
    return e.GetDetails();
  }
  ADD_FAILURE() << "connected to " << path;
  return {};
}

TEST_F(ConnectFailureCauseTest, AFileThatIsNotADatabaseIsNamedWithTheReason) {
  std::string path = env_.Dir().Write("junk.db", "this is no database, only some text");
  EXPECT_EQ(std::vector<std::string>{path + ": file is not a database"},
            ConnectFailureDetails(path));
}

TEST_F(ConnectFailureCauseTest, AMissingDirectoryIsNamed) {
  std::string path = env_.Dir().File("absent/store.db");
  EXPECT_EQ(std::vector<std::string>{path + ": directory " + env_.Dir().File("absent") +
                                     " does not exist"},
            ConnectFailureDetails(path));
}

TEST_F(ConnectFailureCauseTest, AStoreThatWasNeverMadeNeedsNoReason) {
  EXPECT_TRUE(ConnectFailureDetails(env_.Dir().File("absent.db")).empty());
}

}  // namespace
