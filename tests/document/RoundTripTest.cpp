// An exported document imported into a fresh store restores the same
// configuration: exporting again gives an equal document, and the rows hold
// the same layers.
#include <algorithm>
#include <map>

#include "support/HostFixture.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

// The value as text with the members of every object sorted by name and,
// at key level (depth 3) where the order of instances is the export's
// choice, the elements of arrays sorted as well.
std::string Canonical(const JsonValue& value, int depth) {
  if (value.IsObject()) {
    std::vector<std::pair<std::string, std::string>> members;
    for (const auto& member : value.GetObject())
      members.emplace_back(member.name.GetString(), Canonical(member.value, depth + 1));
    std::sort(members.begin(), members.end());
    std::string text = "{";
    for (const auto& member : members)
      text += (text.size() > 1 ? "," : "") + ("\"" + member.first + "\":") + member.second;
    return text + "}";
  }
  if (value.IsArray()) {
    std::vector<std::string> elements;
    for (const JsonValue& element : value.GetArray()) elements.push_back(Canonical(element, depth + 1));
    if (depth == 3) std::sort(elements.begin(), elements.end());
    std::string text = "[";
    for (const std::string& element : elements) text += (text.size() > 1 ? "," : "") + element;
    return text + "]";
  }
  return JsonToString(value);
}

std::string CanonicalText(const std::string& text, int depth = 0) {
  JsonDocument parsed;
  parsed.Parse(text.c_str());
  if (parsed.HasParseError()) return "<not JSON: " + text + ">";
  return Canonical(parsed, depth);
}

class RoundTripTest : public HostFixture {
 protected:
  void FillSourceStore() {
    store_->Set(MakeObject(Id("dns", "net"),
                           R"({"domain":"a.org","servers":["9.9.9.9","1.1.1.1"],"ttl":60,
                               "hosts":[{"name":"gw","ip":"10.0.0.1"},{"name":"ns","ip":"10.0.0.2"}],
                               "options":{"rotate":true},"uptime":5,"lastSync":"yesterday"})"),
                EXTERNAL);
    store_->SetInstances(
        {MakeObject(Id("iface", "net", "eth0"), R"({"name":"eth0","mtu":1500,"speed":10})"),
         MakeObject(Id("iface", "net", "eth1"),
                    R"({"name":"eth1","enabled":false,"carrier":true})")},
        EXTERNAL);
    store_->SetInstances({CreateObject(Id("routes", "gen"), R"({"dest":"10.0.0.0/8","via":"gw"})"),
                          CreateObject(Id("routes", "gen"), R"({"dest":"0.0.0.0/0"})")},
                         EXTERNAL);
    store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"welcome"})"), EXTERNAL);
    store_->Set(MakeObject(Id("hwinfo", "sys"), R"({"serial":"S1"})"), EXTERNAL);
    // lab.iface has no instances at all.
  }

  std::vector<std::shared_ptr<FilterSpecObject>> AllFilters() {
    std::vector<std::shared_ptr<FilterSpecObject>> filters;
    for (const auto& id : {Id("dns", "net"), Id("iface", "net"), Id("routes", "gen"),
                           Id("motd", "sys"), Id("hwinfo", "sys"), Id("iface", "lab")})
      filters.push_back(Filter(id));
    return filters;
  }

  // Every Config row of the store at path as the layers it holds, read
  // with SQLite directly: values compared as JSON, and the generated
  // instance ids of gen.routes (which an import makes anew) masked in the
  // identifier and in the values. Sorted.
  static std::vector<std::string> Layers(const std::string& path) {
    std::vector<std::string> rows;
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
      sqlite3_close_v2(db);
      return {"<cannot open " + path + ">"};
    }
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(db,
                       "SELECT Component, ConfigGroup, Name, Identifier, Version, Success, "
                       "UserValue, DesiredValue, AutoConfValue, VitalValue, CachedValue "
                       "FROM Config",
                       -1, &stmt, nullptr);
    auto text = [&](int column) -> std::string {
      const unsigned char* value = sqlite3_column_text(stmt, column);
      return value != nullptr ? reinterpret_cast<const char*>(value) : "NULL";
    };
    while (sqlite3_step(stmt) == SQLITE_ROW) {
      const std::string identifier = text(3);
      const bool generated = text(2) == "routes";
      std::string line = text(0) + "|" + text(1) + "|" + text(2) + "|" +
                         (generated ? "<generated>" : identifier) + "|" + text(4) + "|" + text(5);
      for (int column = 6; column <= 10; ++column) {
        if (sqlite3_column_type(stmt, column) == SQLITE_NULL) {
          line += "|NULL";
          continue;
        }
        std::string value = text(column);
        for (size_t at = value.find(identifier); generated && at != std::string::npos;
             at = value.find(identifier))
          value.replace(at, identifier.size(), "<generated>");
        line += "|" + CanonicalText(value);
      }
      rows.push_back(line);
    }
    sqlite3_finalize(stmt);
    sqlite3_close_v2(db);
    std::sort(rows.begin(), rows.end());
    return rows;
  }

  // A second, empty store under the same schemas.
  std::string FreshStore() {
    std::string path = env_.Dir().File("fresh-store.db");
    EXPECT_EQ(DBStore::kSuccess, DBStore::ProvisionStore(path, nullptr));
    return path;
  }
};

TEST_F(RoundTripTest, AnExportImportedIntoAFreshStoreExportsTheSame) {
  FillSourceStore();
  const std::string first = Export(AllFilters());
  const std::vector<std::string> sourceLayers = Layers(env_.StorePath());
  ASSERT_EQ(7u, sourceLayers.size());
  // Every kind of value is in the document.
  EXPECT_NE(std::string::npos, first.find(R"("iface":null)")) << first;
  EXPECT_NE(std::string::npos, first.find("0.0.0.0/0")) << first;
  EXPECT_EQ(std::string::npos, first.find("cs_generated_id")) << first;

  const std::string fresh = FreshStore();
  ScopedEnv other("CORV_CONFIGSTORE_DB", fresh);
  std::vector<ErrorInfo> errors;
  ASSERT_TRUE(Import(first, errors));
  EXPECT_TRUE(errors.empty());
  const std::string second = Export(AllFilters());

  EXPECT_EQ(CanonicalText(first), CanonicalText(second)) << first << "\n" << second;
  EXPECT_EQ(sourceLayers, Layers(fresh));
}

TEST_F(RoundTripTest, ImportingAnExportIntoItsOwnStoreChangesNoLayer) {
  FillSourceStore();
  const std::string exported = Export(AllFilters());
  const std::vector<std::string> layers = Layers(env_.StorePath());
  std::vector<ErrorInfo> errors;
  ASSERT_TRUE(Import(exported, errors));
  EXPECT_EQ(layers, Layers(env_.StorePath()));
  EXPECT_EQ(CanonicalText(exported), CanonicalText(Export(AllFilters())));
}

TEST_F(RoundTripTest, AnExportedEmptyKeyRemovesWhatTheTargetHolds) {
  const std::string exported = Export(AllFilters());
  FillSourceStore();
  std::vector<ErrorInfo> errors;
  ASSERT_TRUE(Import(exported, errors));
  EXPECT_TRUE(QueryRows(env_.StorePath(), "SELECT * FROM Config").empty());
  EXPECT_EQ(CanonicalText(exported), CanonicalText(Export(AllFilters())));
}

}  // namespace
