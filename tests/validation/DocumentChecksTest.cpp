// Whole documents nested component, group, key: ValidateDocument on an
// object's value and ValidateImportDocument on a parsed document.
#include "schema/SchemaStore.h"
#include "validation/Validation.h"
#include "ValidationFixture.h"
#include "object/ObjectAccess.h"

using namespace CorvConfigStore;
using CorvTest::HasRecord;

namespace {

class DocumentChecksTest : public CorvTest::StoreValidationTest {
 protected:
  // An object whose value is a whole document.
  std::shared_ptr<ConfigStoreObject> Document(const std::string& text) {
    return Object(ConfigStoreObjectId("document", "net", "corv"), text, nullptr);
  }

  // The import check on parsed text; the document is kept in imported_.
  std::vector<ErrorInfo> Import(const std::string& text, bool* valid = nullptr) {
    EXPECT_TRUE(ParseJson(text.c_str(), text.size(), imported_, nullptr));
    std::vector<ErrorInfo> errors;
    bool result = ValidateImportDocument(imported_, CorvSchemaStore::SchemaStore::GetCache(), errors);
    EXPECT_EQ(result, errors.empty());
    if (valid != nullptr) *valid = result;
    return errors;
  }

  JsonDocument imported_;
};

// The generated id of the first instance of corv/net/pools in a document.
std::string FirstPoolId(const JsonValue& document) {
  const JsonValue& pool = document["corv"]["net"]["pools"][0];
  auto id = pool.FindMember("cs_generated_id");
  return id == pool.MemberEnd() || !id->value.IsString() ? "" : id->value.GetString();
}

TEST_F(DocumentChecksTest, AValidDocumentPasses) {
  std::vector<ErrorInfo> errors;
  EXPECT_TRUE(ValidateDocument(
      Document(R"({"corv": {"net": {"dns": {"mode": "static"},
                   "routes": [{"name": "r1", "gateway": "g"}]},
                   "kestrel": {"options": {"args": "quiet"}}}})"),
      errors));
  EXPECT_TRUE(errors.empty());
}

TEST_F(DocumentChecksTest, NamesTheStoreDoesNotKnowAreReported) {
  CorvTest::LogCapture log;
  std::vector<ErrorInfo> errors;
  EXPECT_FALSE(ValidateDocument(
      Document(R"({"corv": {"net": {"dns": {"mode": "static"}, "nokey": {}}, "nogroup": {}},
                   "nocomp": {}})"),
      errors));
  EXPECT_EQ(errors.size(), 3u);
  EXPECT_TRUE(HasRecord(errors, "/corv/net/nokey", "\"nokey\""));
  EXPECT_TRUE(HasRecord(errors, "/corv/nogroup", "\"nogroup\""));
  EXPECT_TRUE(HasRecord(errors, "/nocomp", "\"nocomp\""));
  for (const ErrorInfo& error : errors)
    EXPECT_TRUE(log.Has(0, "[1083] " + error.location + ": " + error.message));
}

TEST_F(DocumentChecksTest, ValidateDocumentAppliesTheUserConfigurationRules) {
  std::vector<ErrorInfo> errors;
  EXPECT_FALSE(ValidateDocument(
      Document(R"({"corv": {"net": {"dns": {"domain": "lan", "stats": {"hits": 1}}}}})"), errors));
  EXPECT_TRUE(HasRecord(errors, "/corv/net/dns", "mode"));
  EXPECT_TRUE(HasRecord(errors, "/corv/net/dns/stats", "stats"));
  EXPECT_EQ(errors.size(), 2u);
}

TEST_F(DocumentChecksTest, ValidateDocumentGivesGeneratedIds) {
  auto document = Document(R"({"corv": {"net": {"pools": [{"size": 1}, {"size": 2}]}}})");
  std::vector<ErrorInfo> errors;
  EXPECT_TRUE(ValidateDocument(document, errors));
  const JsonValue& value = *ImplOf(document).GetJsonValuePtr();
  std::string first = FirstPoolId(value);
  EXPECT_FALSE(first.empty());
  const JsonValue& second = value["corv"]["net"]["pools"][1];
  ASSERT_TRUE(second.HasMember("cs_generated_id"));
  EXPECT_NE(first, second["cs_generated_id"].GetString());
  // Callers never see generated ids.
  EXPECT_EQ(document->GetData(), R"({"corv":{"net":{"pools":[{"size":1},{"size":2}]}}})");
}

TEST_F(DocumentChecksTest, ExistingGeneratedIdsAreKept) {
  auto document =
      Document(R"({"corv": {"net": {"pools": [{"size": 1, "cs_generated_id": "kept"}]}}})");
  std::vector<ErrorInfo> errors;
  EXPECT_TRUE(ValidateDocument(document, errors));
  EXPECT_EQ(FirstPoolId(*ImplOf(document).GetJsonValuePtr()), "kept");
}

TEST_F(DocumentChecksTest, ADocumentThatIsNotAnObjectIsOneFault) {
  std::vector<ErrorInfo> errors;
  EXPECT_FALSE(ValidateDocument(Document("[]"), errors));
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].location, "/");
  EXPECT_EQ(errors[0].message, "INCORRECT TYPE: expected object.");

  errors = Import(R"(["corv"])");
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].location, "/");
  EXPECT_EQ(errors[0].message, "INCORRECT TYPE: expected object.");
}

TEST_F(DocumentChecksTest, ANullObjectIsLoggedAndInvalid) {
  CorvTest::LogCapture log;
  std::vector<ErrorInfo> errors;
  EXPECT_FALSE(ValidateDocument(nullptr, errors));
  EXPECT_TRUE(errors.empty());
  EXPECT_TRUE(log.Contains("[1041] ValidateDocument"));
}

TEST_F(DocumentChecksTest, ImportAllowsMembersOfOtherLayers) {
  bool valid = false;
  EXPECT_TRUE(Import(R"({"corv": {"net": {"dns": {"mode": "static", "stats": {"hits": 1}}}}})",
                     &valid)
                  .empty());
  EXPECT_TRUE(valid);
  auto errors = Import(R"({"corv": {"net": {"dns": {"domain": "lan", "color": 1}}}})", &valid);
  EXPECT_FALSE(valid);
  EXPECT_TRUE(HasRecord(errors, "/corv/net/dns", "mode"));
  EXPECT_TRUE(HasRecord(errors, "/corv/net/dns/color", "color"));
}

TEST_F(DocumentChecksTest, ImportReportsUnknownNamesAndGivesGeneratedIds) {
  auto errors = Import(R"({"corv": {"net": {"nokey": {}}}})");
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_NE(errors[0].message.find("nokey"), std::string::npos);

  EXPECT_TRUE(Import(R"({"corv": {"net": {"pools": [{"size": 1}]}}})").empty());
  EXPECT_FALSE(FirstPoolId(imported_).empty());
}

TEST_F(DocumentChecksTest, ImportRecordsAreLoggedAndAppended) {
  CorvTest::LogCapture log;
  JsonDocument document;
  std::string text = R"({"corv": {"net": {"dns": {}}}})";
  ASSERT_TRUE(ParseJson(text.c_str(), text.size(), document, nullptr));
  std::vector<ErrorInfo> errors{ErrorInfo("/earlier", "kept")};
  EXPECT_FALSE(ValidateImportDocument(document, CorvSchemaStore::SchemaStore::GetCache(), errors));
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_EQ(errors[0].location, "/earlier");
  EXPECT_TRUE(log.Has(0, "[1083] " + errors[1].location + ": " + errors[1].message));
}

}  // namespace
