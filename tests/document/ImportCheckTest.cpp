// ValidateImport: the checks of Import without the writes.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/ImportCheck.h>

#include "support/HostFixture.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

class ImportCheckTest : public HostFixture {
 protected:
  void SetUp() override {
    HostFixture::SetUp();
    if (HasFatalFailure()) return;
    store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"hello"})"), EXTERNAL);
    before_ = DumpStore();
  }

  std::vector<std::string> before_;
};

TEST_F(ImportCheckTest, AValidDocumentPassesAndNothingIsWritten) {
  std::vector<ErrorInfo> errors;
  EXPECT_TRUE(ValidateImport(R"({"corv": {"sys": {"motd": {"text": "bye"}},
                                          "net": {"iface": [{"name": "eth0", "mtu": 9000}],
                                                  "dns": null}}})",
                             errors));
  EXPECT_TRUE(errors.empty());
  EXPECT_EQ(DumpStore(), before_);
}

TEST_F(ImportCheckTest, AnInvalidDocumentGivesTheRecordsImportWouldGive) {
  const std::string document = R"({"corv": {"net": {"iface": [{"name": "eth0", "mtu": "big"}]},
                                            "nogroup": {}}})";
  std::vector<ErrorInfo> checked;
  EXPECT_FALSE(ValidateImport(document, checked));
  std::vector<ErrorInfo> imported;
  EXPECT_FALSE(Import(document, imported));
  ASSERT_EQ(checked.size(), imported.size());
  ASSERT_EQ(checked.size(), 2u);
  for (size_t i = 0; i < checked.size(); ++i) {
    EXPECT_EQ(checked[i].location, imported[i].location);
    EXPECT_EQ(checked[i].message, imported[i].message);
  }
  EXPECT_EQ(DumpStore(), before_);
}

TEST_F(ImportCheckTest, ARootThatIsNotAnObjectIsOneRecord) {
  std::vector<ErrorInfo> errors;
  EXPECT_FALSE(ValidateImport("[]", errors));
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].location, "/");
  EXPECT_EQ(errors[0].message, "INCORRECT TYPE: expected object.");
}

TEST_F(ImportCheckTest, TextThatIsNotJsonThrows1080) {
  std::vector<ErrorInfo> errors;
  try {
    ValidateImport("{\"corv\": ", errors);
    FAIL() << "no exception";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1080);
  }
  EXPECT_TRUE(errors.empty());
}

}  // namespace
