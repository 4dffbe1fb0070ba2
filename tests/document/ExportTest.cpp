// Export of stored configurations as documents, whole or streamed to a
// sink, and the streamed instances of one key.
#include <corvconfigstore/Exceptions.h>

#include <map>
#include <vector>

#include "document/ImportExportInternal.h"
#include "object/ConfigStoreObjectImpl.h"
#include "core/ConfigStoreDocument.h"
#include "support/HostFixture.h"
#include "object/ObjectAccess.h"

#include <rapidjson/prettywriter.h>

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

const ConfigStoreObjectId kDns = Id("dns", "net");
const ConfigStoreObjectId kIface = Id("iface", "net");
const ConfigStoreObjectId kEth0 = Id("iface", "net", "eth0");
const ConfigStoreObjectId kEth1 = Id("iface", "net", "eth1");
const ConfigStoreObjectId kRoutes = Id("routes", "gen");

class ExportTest : public HostFixture {
 protected:
  std::vector<std::shared_ptr<FilterSpecObject>> Filters(
      std::initializer_list<ConfigStoreObjectId> ids) {
    std::vector<std::shared_ptr<FilterSpecObject>> filters;
    for (const auto& id : ids) filters.push_back(Filter(id));
    return filters;
  }

  // The document's value of one key.
  static std::string KeyValueOf(const std::string& document, const char* component,
                                const char* group, const char* key) {
    JsonDocument parsed;
    parsed.Parse(document.c_str());
    if (!parsed.IsObject() || !parsed.HasMember(component) || !parsed[component].HasMember(group) ||
        !parsed[component][group].HasMember(key))
      return "<absent>";
    return JsonToString(parsed[component][group][key]);
  }

  // A sink that keeps every piece it is handed.
  struct Pieces {
    std::vector<std::string> pieces;
    TextSink Sink() {
      return [this](const char* text, size_t length) { pieces.emplace_back(text, length); };
    }
    std::string Text() const {
      std::string text;
      for (const std::string& piece : pieces) text += piece;
      return text;
    }
  };

  // The text indented by two spaces a level, as rapidjson's pretty writer
  // lays it out.
  static std::string Indented(const std::string& json) {
    JsonDocument parsed;
    parsed.Parse(json.c_str());
    rapidjson::StringBuffer buffer;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
    writer.SetIndent(' ', 2);
    parsed.Accept(writer);
    return buffer.GetString();
  }

  void StoreInterfaces(int count) {
    std::vector<std::shared_ptr<ConfigStoreObject>> nics;
    for (int i = 0; i < count; ++i) {
      std::string name = "eth" + std::to_string(i);
      nics.push_back(MakeObject(ConfigStoreObjectId("iface", "net", "corv", name),
                                R"({"name":")" + name + R"("})"));
    }
    store_->SetInstances(nics, EXTERNAL);
  }

  // The instances of a key's array by instance id property, as texts.
  static std::map<std::string, std::string> InstancesOf(const std::string& document,
                                                        const char* key, const char* idProperty) {
    JsonDocument parsed;
    parsed.Parse(document.c_str());
    std::map<std::string, std::string> instances;
    for (const JsonValue& instance : parsed["corv"]["net"][key].GetArray())
      instances[instance[idProperty].GetString()] = JsonToString(instance);
    return instances;
  }
};

TEST_F(ExportTest, NoFiltersExportNothingWithoutTouchingTheStore) {
  ScopedEnv missing("CORV_CONFIGSTORE_DB", env_.Dir().File("no-such-store.db"));
  LogCapture log(3);
  EXPECT_EQ("{}", Export({}));
  EXPECT_TRUE(log.Has(3, "Export invoked"));
}

TEST_F(ExportTest, ASingletonIsExportedWithItsLayersMerged) {
  store_->Set(MakeObject(kDns, R"({"domain":"a.org","uptime":3,"lastSync":"t"})"), EXTERNAL);
  std::string document = Export(Filters({kDns}));
  EXPECT_TRUE(JsonEqual(R"({"corv":{"net":{"dns":{"uptime":3,"lastSync":"t","domain":"a.org"}}}})",
                        document))
      << document;
}

TEST_F(ExportTest, InstancesAreExportedAsAnArray) {
  store_->SetInstances({MakeObject(kEth0, R"({"name":"eth0","mtu":1500,"speed":10})"),
                        MakeObject(kEth1, R"({"name":"eth1"})")},
                       EXTERNAL);
  std::string document = Export(Filters({kIface}));
  std::map<std::string, std::string> instances = InstancesOf(document, "iface", "name");
  ASSERT_EQ(2u, instances.size()) << document;
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","mtu":1500,"speed":10})", instances["eth0"]));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth1"})", instances["eth1"]));
}

TEST_F(ExportTest, AKeyWithoutInstancesIsExportedAsNull) {
  EXPECT_EQ(R"({"corv":{"net":{"iface":null}}})", Export(Filters({kIface})));
}

TEST_F(ExportTest, ASingletonWithoutRowIsExportedAsNull) {
  EXPECT_EQ(R"({"corv":{"net":{"dns":null}}})", Export(Filters({kDns})));
}

TEST_F(ExportTest, GeneratedIdsAreNotExported) {
  store_->SetInstances({CreateObject(kRoutes, R"({"dest":"a"})"),
                        CreateObject(kRoutes, R"({"dest":"b"})")},
                       EXTERNAL);
  ASSERT_EQ(2u, raw_->Identifiers("routes", "gen").size());
  std::string document = Export(Filters({kRoutes}));
  EXPECT_EQ(std::string::npos, document.find("cs_generated_id")) << document;
  std::string routes = KeyValueOf(document, "corv", "gen", "routes");
  EXPECT_TRUE(routes == R"([{"dest":"a"},{"dest":"b"}])" || routes == R"([{"dest":"b"},{"dest":"a"}])")
      << routes;
}

TEST_F(ExportTest, AFilterSelectsInstances) {
  store_->SetInstances({MakeObject(kEth0, R"({"name":"eth0","mtu":1500})"),
                        MakeObject(kEth1, R"({"name":"eth1","mtu":9000})")},
                       EXTERNAL);
  std::string byId = Export(Filters({kEth1}));
  EXPECT_TRUE(JsonEqual(R"({"corv":{"net":{"iface":[{"name":"eth1","mtu":9000}]}}})", byId));

  auto byValue = Filter(kIface);
  byValue->SetValue("mtu", 1500);
  std::string selected = Export({byValue});
  EXPECT_TRUE(JsonEqual(R"({"corv":{"net":{"iface":[{"name":"eth0","mtu":1500}]}}})", selected));
}

TEST_F(ExportTest, SeveralKeysShareTheirComponentAndGroup) {
  store_->Set(MakeObject(kDns, R"({"domain":"a"})"), EXTERNAL);
  store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"hi"})"), EXTERNAL);
  store_->SetInstances({MakeObject(kEth0, R"({"name":"eth0"})")}, EXTERNAL);
  std::string document =
      Export(Filters({kDns, Id("motd", "sys"), kIface, kDns, Id("iface", "lab")}));
  EXPECT_TRUE(JsonEqual(R"({"corv":{"net":{"dns":{"domain":"a"},"iface":[{"name":"eth0"}]},
                                    "sys":{"motd":{"text":"hi"}},"lab":{"iface":null}}})",
                        document))
      << document;
}

TEST_F(ExportTest, AKeyWithoutSchemaIsRefused) {
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { Export(Filters({kDns, Id("nosuch", "net")})); },
                                           1037,
                                           "Schema not found for: comp corv grp net key nosuch"));
}

TEST_F(ExportTest, ANullFilterIsLoggedAndSkipped) {
  store_->Set(MakeObject(kDns, R"({"domain":"a"})"), EXTERNAL);
  LogCapture log(1);
  EXPECT_EQ(R"({"corv":{"net":{"dns":{"domain":"a"}}}})", Export({nullptr, Filter(kDns)}));
  EXPECT_TRUE(log.Has(1, "[1041] Export: Object handle is null"));
  EXPECT_EQ("{}", Export({nullptr}));
}

TEST_F(ExportTest, ExportWithoutStoreCannotConnect) {
  ScopedEnv missing("CORV_CONFIGSTORE_DB", env_.Dir().File("no-such-store.db"));
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { Export(Filters({kDns})); }, 2000,
                                           "Failed to connect to database"));
}

// ---- Streamed export

TEST_F(ExportTest, AStreamedExportIsTheDocumentInKeyOrder) {
  store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"hi"})"), EXTERNAL);
  store_->Set(MakeObject(kDns, R"({"domain":"a"})"), EXTERNAL);
  store_->SetInstances({MakeObject(kEth0, R"({"name":"eth0"})"),
                        MakeObject(kEth1, R"({"name":"eth1"})")},
                       EXTERNAL);
  auto filters = Filters({Id("motd", "sys"), kIface, Id("iface", "lab"), kDns});
  Pieces streamed;
  ExportTo(filters, streamed.Sink());
  // Components, groups and keys in order; a key's instances in one array.
  EXPECT_EQ(R"({"corv":{"lab":{"iface":null},"net":{"dns":{"domain":"a"},)"
            R"("iface":[{"name":"eth0"},{"name":"eth1"}]},"sys":{"motd":{"text":"hi"}}}})",
            streamed.Text());
  EXPECT_EQ(streamed.Text(), Export(filters));
}

TEST_F(ExportTest, TheIndentedLayoutIsThePrettyPrintedDocument) {
  store_->Set(MakeObject(kDns, R"({"domain":"a","servers":["1.1.1.1"]})"), EXTERNAL);
  StoreInterfaces(2);
  auto filters = Filters({kDns, kIface, Id("motd", "sys")});
  Pieces indented;
  ExportTo(filters, indented.Sink(), JsonLayout::kIndented);
  EXPECT_EQ(Indented(Export(filters)), indented.Text());
}

TEST_F(ExportTest, ALargeExportReachesTheSinkInPieces) {
  StoreInterfaces(5000);
  Pieces streamed;
  ExportTo(Filters({kIface}), streamed.Sink());
  EXPECT_GT(streamed.pieces.size(), 1u);
  for (const std::string& piece : streamed.pieces) EXPECT_LE(piece.size(), 64u * 1024);
  EXPECT_EQ(5000u, InstancesOf(streamed.Text(), "iface", "name").size());
}

TEST_F(ExportTest, AValueLargerThanAPieceIsExportedWhole) {
  const std::string domain(150000, 'd');
  store_->Set(MakeObject(kDns, R"({"domain":")" + domain + R"("})"), EXTERNAL);
  Pieces streamed;
  ExportTo(Filters({kDns}), streamed.Sink());
  EXPECT_EQ(R"({"corv":{"net":{"dns":{"domain":")" + domain + R"("}}}})", streamed.Text());
  Pieces indented;
  ExportTo(Filters({kDns}), indented.Sink(), JsonLayout::kIndented);
  EXPECT_EQ(Indented(streamed.Text()), indented.Text());
}

TEST_F(ExportTest, AnInstanceSelectedTwiceIsExportedOnce) {
  StoreInterfaces(2);
  std::string document = Export({Filter(kEth1), Filter(kIface), Filter(kEth1)});
  EXPECT_EQ(R"({"corv":{"net":{"iface":[{"name":"eth1"},{"name":"eth0"}]}}})", document);
}

TEST_F(ExportTest, AFailedCheckWritesNothing) {
  store_->Set(MakeObject(kDns, R"({"domain":"a"})"), EXTERNAL);
  Pieces streamed;
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [&] { ExportTo(Filters({kDns, Id("nosuch", "net")}), streamed.Sink()); }, 1037,
      "Schema not found for: comp corv grp net key nosuch"));
  EXPECT_TRUE(streamed.pieces.empty());
}

TEST_F(ExportTest, AFailingSinkStopsTheExport) {
  StoreInterfaces(5000);
  int calls = 0;
  EXPECT_THROW(ExportTo(Filters({kIface}),
                        [&calls](const char*, size_t) {
                          ++calls;
                          throw std::runtime_error("disk full");
                        }),
               std::runtime_error);
  EXPECT_EQ(1, calls);
}

// Rows as a store may hold them: written by hand, with blanks, generated
// ids, numbers in other forms, without their own instance id, in several
// layers, unconfirmed. Each compact export, which copies a value of one
// stored layer from its text, is the indented one, which reads objects,
// written compact; and so are the streamed instances.
TEST_F(ExportTest, StoredTextIsCopiedAsTheObjectReadFromItIsWritten) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"e1", R"(1, ' { "name" : "e1" , "mtu" : 1.50e3 } ', NULL)"},
      {"e2", R"(1, '{"name":"e2","cs_generated_id":"g","l":[{"cs_generated_id":1,"x":"\u0041"}]}', NULL)"},
      {"e3", R"(1, '{"mtu":9000}', NULL)"},
      {"e4", R"(1, '{"name":"other","mtu":1}', NULL)"},
      {"e5", R"(1, '{"name":null}', NULL)"},
      {"e6", R"(1, '{"name":"e6"}', '{"speed":10}')"},
      {"e7", R"(0, '{"name":"e7"}', NULL)"},
      {"e8", R"(1, NULL, '{"name":"e8","speed":1}')"},
      {"e9", R"(1, '{"name":"e9","name":"again"}', NULL)"},
  };
  for (const auto& [instance, values] : rows) {
    ASSERT_EQ("", raw_->Exec("INSERT INTO Config (Component, ConfigGroup, Name, Identifier, "
                             "Version, Success, UserValue, VitalValue) VALUES ('corv', 'net', "
                             "'iface', '" + instance + "', '1.0', " + values + ")"));
  }
  store_->Set(MakeObject(kDns, R"({"domain":"a"})"), EXTERNAL);
  for (const auto& filters : {Filters({kIface, kDns}), Filters({kEth1, kIface, Id("iface", "net", "e2")})}) {
    Pieces compact;
    ExportTo(filters, compact.Sink());
    Pieces indented;
    ExportTo(filters, indented.Sink(), JsonLayout::kIndented);
    EXPECT_EQ(Indented(compact.Text()), indented.Text());
    JsonDocument parsed;
    parsed.Parse(indented.Text().c_str());
    EXPECT_EQ(JsonToString(parsed), compact.Text());
  }
  EXPECT_EQ(
      R"([{"name":"e1","mtu":1500.0},{"name":"e2","l":[{"x":"A"}]},{"mtu":9000,"name":"e3"},)"
      R"({"name":"e4","mtu":1},{"name":null,"name":"e5"},{"speed":10,"name":"e6"},)"
      R"({"name":"e8","speed":1},{"name":"e9","name":"again"}])",
      [&] {
        Pieces streamed;
        ExportInstancesTo(Filter(kIface), streamed.Sink());
        return streamed.Text();
      }());
  Pieces streamedIndented;
  ExportInstancesTo(Filter(kIface), streamedIndented.Sink(), JsonLayout::kIndented);
  Pieces streamed;
  ExportInstancesTo(Filter(kIface), streamed.Sink());
  EXPECT_EQ(Indented(streamed.Text()), streamedIndented.Text());
}

// A stored value that is not one JSON object is refused as a read of it is,
// in either layout, before any of it is written.
TEST_F(ExportTest, StoredTextThatIsNotAnObjectIsRefused) {
  for (const char* value : {"not json", "[1]", R"({"name":"e1"} x)"}) {
    ASSERT_EQ("", raw_->Exec("DELETE FROM Config"));
    ASSERT_EQ("", raw_->Exec(std::string("INSERT INTO Config (Component, ConfigGroup, Name, "
                                         "Identifier, Version, Success, UserValue) VALUES "
                                         "('corv', 'net', 'iface', 'e1', '1.0', 1, '") +
                             value + "')"));
    std::string read;
    try {
      store_->GetInstances(Filter(kIface));
    } catch (const ConfigStoreException& e) {
      read = e.what();
    }
    ASSERT_FALSE(read.empty()) << value;
    for (JsonLayout layout : {JsonLayout::kCompact, JsonLayout::kIndented}) {
      Pieces document;
      EXPECT_TRUE(Throws<ConfigStoreException>(
          [&] { ExportTo(Filters({kIface}), document.Sink(), layout); }, 1082, read))
          << value;
      EXPECT_TRUE(document.pieces.empty());
      Pieces instances;
      EXPECT_TRUE(Throws<ConfigStoreException>(
          [&] { ExportInstancesTo(Filter(kIface), instances.Sink(), layout); }, 1082, read))
          << value;
      EXPECT_TRUE(instances.pieces.empty());
    }
  }
}

// ---- Streamed instances

TEST_F(ExportTest, StreamedInstancesAreWhatGetInstancesReturns) {
  store_->SetInstances({MakeObject(kEth0, R"({"name":"eth0","mtu":1500})"),
                        MakeObject(kEth1, R"({"name":"eth1","mtu":9000})")},
                       EXTERNAL);
  auto filter = Filter(kIface);
  std::string expected = "[";
  for (const auto& object : store_->GetInstances(filter))
    expected += (expected.size() > 1 ? "," : "") + object->GetData();
  expected += "]";
  Pieces streamed;
  ExportInstancesTo(filter, streamed.Sink());
  EXPECT_EQ(expected, streamed.Text());

  auto byValue = Filter(kIface);
  byValue->SetValue("mtu", 9000);
  Pieces selected;
  ExportInstancesTo(byValue, selected.Sink(), JsonLayout::kIndented);
  EXPECT_EQ(Indented(R"([{"name":"eth1","mtu":9000}])"), selected.Text());
}

TEST_F(ExportTest, StreamedInstancesCarryNoGeneratedIds) {
  store_->SetInstances({CreateObject(kRoutes, R"({"dest":"a"})")}, EXTERNAL);
  Pieces streamed;
  ExportInstancesTo(Filter(kRoutes), streamed.Sink());
  EXPECT_EQ(R"([{"dest":"a"}])", streamed.Text());
}

TEST_F(ExportTest, StreamedInstancesOfNothingOrOfASingleton) {
  Pieces none;
  ExportInstancesTo(nullptr, none.Sink());
  EXPECT_EQ("[]", none.Text());
  Pieces empty;
  ExportInstancesTo(Filter(kIface), empty.Sink());
  EXPECT_EQ("[]", empty.Text());
  Pieces singleton;
  EXPECT_THROW(ExportInstancesTo(Filter(kDns), singleton.Sink()), ConfigStoreException);
  EXPECT_TRUE(singleton.pieces.empty());
}

}  // namespace
