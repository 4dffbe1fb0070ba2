// Import of whole-store documents: what is replaced, what is removed, and
// that a refused or failed import leaves the store exactly as it was.
#include <corvconfigstore/Exceptions.h>

#include <set>
#include <stdexcept>
#include <utility>

#include "document/ImportExportInternal.h"
#include "schema/SchemaStore.h"
#include "support/HostFixture.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

const ConfigStoreObjectId kDns = Id("dns", "net");
const ConfigStoreObjectId kIface = Id("iface", "net");
const ConfigStoreObjectId kEth0 = Id("iface", "net", "eth0");
const ConfigStoreObjectId kMotd = Id("motd", "sys");

std::string Describe(const std::vector<ErrorInfo>& errors) {
  std::string text;
  for (const ErrorInfo& error : errors) text += "[" + error.location + ": " + error.message + "] ";
  return text;
}

class ImportTest : public HostFixture {
 protected:
  void SetUp() override {
    HostFixture::SetUp();
    if (HasFatalFailure()) return;
    store_->Set(MakeObject(kDns, R"({"domain":"old.org","uptime":1})"), EXTERNAL);
    store_->SetInstances({MakeObject(kEth0, R"({"name":"eth0","mtu":1500})"),
                          MakeObject(Id("iface", "net", "eth9"), R"({"name":"eth9"})")},
                         EXTERNAL);
    store_->Set(MakeObject(kMotd, R"({"text":"hello"})"), EXTERNAL);
    before_ = DumpStore();
  }

  // Checks that the import is refused, the store unchanged, and returns its
  // records.
  std::vector<ErrorInfo> ExpectRefused(const std::string& document) {
    std::vector<ErrorInfo> errors;
    EXPECT_FALSE(Import(document, errors)) << document;
    EXPECT_EQ(before_, DumpStore()) << document;
    EXPECT_FALSE(errors.empty()) << document;
    return errors;
  }

  // True when one record has the location (and, when given, the message
  // fragment).
  static bool HasRecord(const std::vector<ErrorInfo>& errors, const std::string& location,
                        const std::string& fragment = "") {
    for (const ErrorInfo& error : errors)
      if (error.location == location && error.message.find(fragment) != std::string::npos)
        return true;
    return false;
  }

  std::vector<std::string> before_;
};

// ---- What an import does

TEST_F(ImportTest, AnEmptyDocumentImportsNothing) {
  LogCapture log(3);
  std::vector<ErrorInfo> errors;
  EXPECT_TRUE(Import("{}", errors));
  EXPECT_TRUE(errors.empty());
  EXPECT_TRUE(log.Has(3, "Import invoked"));
  EXPECT_TRUE(log.Has(3, "Found nothing to import from document"));
  EXPECT_EQ(before_, DumpStore());
}

TEST_F(ImportTest, ASingletonIsReplacedAndSplitIntoLayers) {
  std::vector<ErrorInfo> errors;
  ASSERT_TRUE(Import(R"({"corv":{"net":{"dns":{"domain":"new.org","uptime":7,"lastSync":"t"}}}})",
                     errors))
      << Describe(errors);
  EXPECT_TRUE(JsonEqual(R"({"domain":"new.org"})", raw_->Column(kDns, "UserValue")));
  EXPECT_TRUE(JsonEqual(R"({"uptime":7})", raw_->Column(kDns, "VitalValue")));
  EXPECT_TRUE(JsonEqual(R"({"lastSync":"t"})", raw_->Column(kDns, "CachedValue")));
  // Keys the document does not name stay as they were.
  EXPECT_TRUE(JsonEqual(R"({"text":"hello"})", raw_->Column(kMotd, "UserValue")));
  EXPECT_EQ((std::vector<std::string>{"eth0", "eth9"}), raw_->Identifiers("iface", "net"));
}

TEST_F(ImportTest, AnArrayReplacesEveryStoredInstance) {
  std::vector<ErrorInfo> errors;
  ASSERT_TRUE(Import(
      R"({"corv":{"net":{"iface":[{"name":"eth1","mtu":9000},{"name":"eth2","enabled":true}]}}})",
      errors))
      << Describe(errors);
  EXPECT_EQ((std::vector<std::string>{"eth1", "eth2"}), raw_->Identifiers("iface", "net"));
  EXPECT_TRUE(
      JsonEqual(R"({"name":"eth1","mtu":9000})", raw_->Column(Id("iface", "net", "eth1"), "UserValue")));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth2","enabled":true})",
                        raw_->Column(Id("iface", "net", "eth2"), "UserValue")));
}

TEST_F(ImportTest, AnEmptyArrayRemovesEveryInstance) {
  std::vector<ErrorInfo> errors;
  ASSERT_TRUE(Import(R"({"corv":{"net":{"iface":[]}}})", errors)) << Describe(errors);
  EXPECT_TRUE(raw_->Identifiers("iface", "net").empty());
}

TEST_F(ImportTest, NullRemovesEverythingStoredForTheKey) {
  std::vector<ErrorInfo> errors;
  ASSERT_TRUE(Import(R"({"corv":{"net":{"iface":null,"dns":null}}})", errors)) << Describe(errors);
  EXPECT_TRUE(raw_->Identifiers("iface", "net").empty());
  EXPECT_EQ("<no row>", raw_->Column(kDns, "UserValue"));
  EXPECT_TRUE(JsonEqual(R"({"text":"hello"})", raw_->Column(kMotd, "UserValue")));
}

TEST_F(ImportTest, OneDocumentSetsReplacesAndRemoves) {
  std::vector<ErrorInfo> errors;
  ASSERT_TRUE(Import(R"({"corv":{
      "kestrel":{"options":{"cmdline":"quiet"}},
      "net":{"iface":[{"name":"a"},{"name":"b"}]},
      "sys":{"motd":null}}})",
                     errors))
      << Describe(errors);
  EXPECT_TRUE(JsonEqual(R"({"cmdline":"quiet"})",
                        raw_->Column(Id("options", "kestrel"), "UserValue")));
  EXPECT_EQ((std::vector<std::string>{"a", "b"}), raw_->Identifiers("iface", "net"));
  EXPECT_EQ("<no row>", raw_->Column(kMotd, "UserValue"));
}

TEST_F(ImportTest, ProgressCountsTheInstancesAsTheyAreWritten) {
  std::vector<ErrorInfo> errors;
  std::vector<std::pair<size_t, size_t>> calls;
  ASSERT_TRUE(Import(R"({"corv":{"net":{"iface":[{"name":"a"},{"name":"b"}],"dns":null},
                                "sys":{"motd":{"text":"hi"}}}})",
                     errors,
                     [&calls](size_t written, size_t total) { calls.emplace_back(written, total); }))
      << Describe(errors);
  EXPECT_EQ((std::vector<std::pair<size_t, size_t>>{{0, 3}, {1, 3}, {2, 3}, {3, 3}}), calls);
  EXPECT_EQ((std::vector<std::string>{"a", "b"}), raw_->Identifiers("iface", "net"));
}

TEST_F(ImportTest, ProgressIsNotToldOfARefusedDocumentAndItsFailureCancels) {
  std::vector<ErrorInfo> errors;
  size_t calls = 0;
  EXPECT_FALSE(Import(R"({"corv":{"net":{"nope":{}}}})", errors,
                      [&calls](size_t, size_t) { ++calls; }));
  EXPECT_EQ(0u, calls);
  EXPECT_EQ(before_, DumpStore());
  // A failure of the observer after the first row leaves nothing written.
  std::vector<ErrorInfo> none;
  EXPECT_THROW(Import(R"({"corv":{"net":{"iface":[{"name":"a"},{"name":"b"}]}}})", none,
                      [](size_t written, size_t) {
                        if (written == 1) throw std::runtime_error("stopped");
                      }),
               std::runtime_error);
  EXPECT_EQ(before_, DumpStore());
}

TEST_F(ImportTest, InstancesWithoutIdsGetGeneratedOnes) {
  std::vector<ErrorInfo> errors;
  ASSERT_TRUE(Import(R"({"corv":{"gen":{"routes":[{"dest":"a"},{"dest":"b"}]}}})", errors))
      << Describe(errors);
  std::vector<std::string> ids = raw_->Identifiers("routes", "gen");
  ASSERT_EQ(2u, ids.size());
  std::set<std::string> destinations;
  for (const std::string& id : ids) {
    EXPECT_EQ(36u, id.size());
    JsonDocument value;
    value.Parse(raw_->Column(Id("routes", "gen", id.c_str()), "UserValue").c_str());
    ASSERT_TRUE(value.IsObject());
    // The stored value carries the id it is stored under.
    EXPECT_EQ(id, value["cs_generated_id"].GetString());
    destinations.insert(value["dest"].GetString());
  }
  EXPECT_EQ((std::set<std::string>{"a", "b"}), destinations);
}

TEST_F(ImportTest, ErrorsAreAppendedToTheCallersList) {
  std::vector<ErrorInfo> errors{ErrorInfo("/earlier", "kept")};
  EXPECT_FALSE(Import(R"({"corv":{"net":{"dns":{"ttl":"x"}}}})", errors));
  ASSERT_GE(errors.size(), 2u);
  EXPECT_EQ("/earlier", errors[0].location);
}

TEST_F(ImportTest, ANullForAnUnknownKeyOfAKnownGroupRemovesNothing) {
  // Nothing is left of it to validate, and nothing is stored under it.
  std::vector<ErrorInfo> errors;
  EXPECT_TRUE(Import(R"({"corv":{"net":{"nosuch":null}}})", errors)) << Describe(errors);
  EXPECT_EQ(before_, DumpStore());
}

// ---- Refused documents leave the store unchanged

TEST_F(ImportTest, TextThatIsNotJsonThrows) {
  for (const char* text : {"", "{", "{\"corv\": }", "{} {}", "corv"}) {
    std::vector<ErrorInfo> errors;
    try {
      Import(text, errors);
      ADD_FAILURE() << "no exception for '" << text << "'";
    } catch (const ConfigStoreException& e) {
      EXPECT_EQ(1080, e.GetErrorCode()) << text;
    }
    EXPECT_EQ(before_, DumpStore());
  }
}

TEST_F(ImportTest, ARootThatIsNotAnObjectIsRefused) {
  for (const char* text : {"[]", R"([{"corv":{}}])", "7", "\"corv\"", "null", "true"}) {
    LogCapture log(0);
    std::vector<ErrorInfo> errors = ExpectRefused(text);
    ASSERT_EQ(1u, errors.size()) << text;
    EXPECT_EQ("/", errors[0].location);
    EXPECT_EQ("INCORRECT TYPE: expected object.", errors[0].message);
    EXPECT_TRUE(log.Has(0, "Imported document is not of type object.")) << text;
  }
}

TEST_F(ImportTest, WronglyNestedDocumentsAreRefused) {
  // A component that is not an object.
  EXPECT_TRUE(HasRecord(ExpectRefused(R"({"corv":5})"), "/corv"));
  // A group that is not an object.
  EXPECT_TRUE(HasRecord(ExpectRefused(R"({"corv":{"net":[{"dns":{}}]}})"), "/corv/net"));
  // A key one level too high: "dns" is taken for a group.
  EXPECT_TRUE(HasRecord(ExpectRefused(R"({"corv":{"dns":{"domain":"a"}}})"), "/corv/dns"));
  // A key with instances given one object, and a singleton given an array.
  EXPECT_TRUE(HasRecord(ExpectRefused(R"({"corv":{"net":{"iface":{"name":"eth5"}}}})"),
                        "/corv/net/iface"));
  EXPECT_TRUE(HasRecord(ExpectRefused(R"({"corv":{"net":{"dns":[{"domain":"a"}]}}})"),
                        "/corv/net/dns"));
  // A null component is no key.
  EXPECT_TRUE(HasRecord(ExpectRefused(R"({"corv":null})"), "/corv"));
}

TEST_F(ImportTest, UnknownNamesAreRefusedWithTheirPlace) {
  EXPECT_TRUE(HasRecord(ExpectRefused(R"({"nosuch":{"net":{"dns":{}}}})"), "/nosuch"));
  EXPECT_TRUE(HasRecord(ExpectRefused(R"({"corv":{"nosuch":{"dns":{}}}})"), "/corv/nosuch"));
  EXPECT_TRUE(
      HasRecord(ExpectRefused(R"({"corv":{"net":{"nosuch":{"a":1}}}})"), "/corv/net/nosuch"));
  EXPECT_TRUE(HasRecord(ExpectRefused(R"({"corv":{"net":{"dns":{"nosuch":1}}}})"),
                        "/corv/net/dns/nosuch"));
}

TEST_F(ImportTest, WrongTypesAreRefusedAndEveryFaultIsRecorded) {
  std::vector<ErrorInfo> errors = ExpectRefused(
      R"({"corv":{"net":{"dns":{"ttl":"x","domain":5},"iface":[{"name":"e","mtu":"big"}]}}})");
  EXPECT_TRUE(HasRecord(errors, "/corv/net/dns/ttl")) << Describe(errors);
  EXPECT_TRUE(HasRecord(errors, "/corv/net/dns/domain")) << Describe(errors);
  EXPECT_TRUE(HasRecord(errors, "/corv/net/iface/0/mtu")) << Describe(errors);
}

TEST_F(ImportTest, AValueTheSchemaRefusesLeavesTheNullsUndone) {
  ExpectRefused(R"({"corv":{"net":{"iface":null,"dns":{"ttl":-1}}}})");
}

TEST_F(ImportTest, AnInstanceWithoutItsIdIsRefused) {
  LogCapture log(0);
  std::vector<ErrorInfo> errors =
      ExpectRefused(R"({"corv":{"net":{"iface":[{"name":"eth1"},{"mtu":1}]}}})");
  ASSERT_EQ(1u, errors.size()) << Describe(errors);
  EXPECT_EQ("/corv/net/iface", errors[0].location);
  EXPECT_EQ("Instance id property missing or not a string: name", errors[0].message);
  EXPECT_TRUE(log.Has(
      0, "Failed parsing input docString: Instance id property missing or not a string: name"));
}

// ---- Failures while writing leave the store unchanged

TEST_F(ImportTest, AWriteThatFailsPartWayIsUndone) {
  // The motd row cannot be written; everything else of the document could.
  ASSERT_EQ("", raw_->RefuseWrites("INSERT", "motd"));
  std::vector<ErrorInfo> errors;
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [&] {
        Import(R"({"corv":{"net":{"dns":{"domain":"x"},"iface":[{"name":"z"}]},
                   "sys":{"motd":{"text":"new"},"clock":{"zone":"UTC"}}}})",
               errors);
      },
      2000, "WriteComplete failed"));
  EXPECT_EQ(before_, DumpStore());
}

TEST_F(ImportTest, ADeleteThatFailsIsUndone) {
  ASSERT_EQ("", raw_->RefuseWrites("DELETE", "iface"));
  std::vector<ErrorInfo> errors;
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [&] { Import(R"({"corv":{"net":{"dns":{"domain":"x"},"iface":null}}})", errors); }, 2000,
      "Delete instances failed: comp corv grp net key iface"));
  EXPECT_EQ(before_, DumpStore());
}

TEST_F(ImportTest, AnImportWithoutStoreCannotConnect) {
  ScopedEnv missing("CORV_CONFIGSTORE_DB", env_.Dir().File("no-such-store.db"));
  std::vector<ErrorInfo> errors;
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [&] { Import(R"({"corv":{"sys":{"motd":{"text":"x"}}}})", errors); }, 2000,
      "Failed to connect to database"));
}

// ---- The map an import document becomes

TEST_F(ImportTest, TheMapHoldsRemovalsAndObjects) {
  CsoIdObjectMap map;
  std::vector<ErrorInfo> errors;
  ASSERT_TRUE(GetCsoidObjMapFromDocument(R"({"corv":{
      "kestrel":{"options":{"cmdline":"quiet"}},
      "net":{"iface":[{"name":"a","mtu":1},{"name":"b"}]},
      "sys":{"motd":null}}})",
                                         map, CorvSchemaStore::SchemaStore::GetCache(), errors))
      << Describe(errors);
  EXPECT_EQ(5u, map.size());
  ASSERT_TRUE(map.count(Id("options", "kestrel")));
  ASSERT_TRUE(map[Id("options", "kestrel")]);
  EXPECT_TRUE(JsonEqual(R"({"cmdline":"quiet"})", map[Id("options", "kestrel")]->GetData()));
  ASSERT_TRUE(map.count(kIface));
  EXPECT_FALSE(map[kIface]);
  ASSERT_TRUE(map.count(Id("iface", "net", "a")));
  EXPECT_TRUE(JsonEqual(R"({"name":"a","mtu":1})", map[Id("iface", "net", "a")]->GetData()));
  ASSERT_TRUE(map.count(Id("iface", "net", "b")));
  EXPECT_EQ(Id("iface", "net", "b"), map[Id("iface", "net", "b")]->GetConfigStoreObjectId());
  ASSERT_TRUE(map.count(kMotd));
  EXPECT_FALSE(map[kMotd]);
  // Removals first, then each key's configuration and its objects as the
  // document gives them.
  std::vector<ConfigStoreObjectId> order;
  for (const auto& entry : map) order.push_back(entry.first);
  EXPECT_EQ(order, (std::vector<ConfigStoreObjectId>{kMotd, Id("options", "kestrel"), kIface,
                                                     Id("iface", "net", "a"),
                                                     Id("iface", "net", "b")}));
}

TEST_F(ImportTest, AnInvalidDocumentKeepsOnlyItsRemovalsInTheMap) {
  CsoIdObjectMap map;
  std::vector<ErrorInfo> errors;
  EXPECT_FALSE(GetCsoidObjMapFromDocument(R"({"corv":{"sys":{"motd":null,"clock":{"zone":1}}}})",
                                          map, CorvSchemaStore::SchemaStore::GetCache(), errors));
  ASSERT_EQ(1u, map.size());
  EXPECT_FALSE(map[kMotd]);
  EXPECT_TRUE(HasRecord(errors, "/corv/sys/clock/zone"));
}

}  // namespace
