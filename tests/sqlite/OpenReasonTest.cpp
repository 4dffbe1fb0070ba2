// Why a database cannot be opened: the reason a failed open gives, from
// SQLite or from the file system where SQLite says too little.
#include "DBTestUtil.h"

namespace {

using CorvTest::TempDir;

// The reason StoreConnection::Open gives for path; "<opened>" when it opens.
std::string ReasonFor(const std::string& path) {
  std::string reason = "<untouched>";
  if (DBStore::StoreConnection::Open(path, &reason)) return "<opened>";
  return reason;
}

TEST(OpenReason, AFileThatIsNotADatabaseSaysSo) {
  TempDir dir;
  EXPECT_EQ("file is not a database", ReasonFor(dir.Write("junk.db", std::string(4096, 'x'))));
}

TEST(OpenReason, ADirectoryOrNoPathSaysSo) {
  TempDir dir;
  EXPECT_EQ("is a directory", ReasonFor(dir.Path()));
  EXPECT_EQ("no database path", ReasonFor(""));
}

TEST(OpenReason, AMissingDirectoryIsNamed) {
  TempDir dir;
  EXPECT_EQ("directory " + dir.File("absent") + " does not exist",
            ReasonFor(dir.File("absent/store.db")));
}

TEST(OpenReason, AMissingFileInAnExistingDirectoryGivesNone) {
  TempDir dir;
  EXPECT_EQ("", ReasonFor(dir.File("absent.db")));
}

TEST(OpenReason, APathThroughAFileSaysSo) {
  TempDir dir;
  EXPECT_EQ("Not a directory", ReasonFor(dir.Write("plain", "text") + "/store.db"));
}

TEST(OpenReason, GetConnectionNamesThePath) {
  TempDir dir;
  std::string path = dir.Write("junk.db", std::string(4096, 'x'));
  setenv("CORV_CONFIGSTORE_DB", path.c_str(), 1);
  std::string reason;
  EXPECT_EQ(nullptr, DBStore::GetConnection(DBStore::CONFIG_STORE, &reason));
  EXPECT_EQ(path + ": file is not a database", reason);

  reason.clear();
  setenv("CORV_CONFIGSTORE_DB", dir.File("absent.db").c_str(), 1);
  EXPECT_EQ(nullptr, DBStore::GetConnection(DBStore::CONFIG_STORE, &reason));
  EXPECT_EQ("", reason);

  EXPECT_EQ(nullptr, DBStore::GetConnection(static_cast<DBStore::Type>(7), &reason));
  EXPECT_EQ("unknown database type 7", reason);
}

}  // namespace
