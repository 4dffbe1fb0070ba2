// A catalogue of hostile inputs to the public API: each row is an input, the
// coded error it must be answered with, and the promise that it is answered
// quickly and leaves every row of the store and the schema store as it was.
#include <corvconfigstore/ImportCheck.h>

#include <chrono>
#include <functional>

#include "support/HostFixture.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

using Clock = std::chrono::steady_clock;

// Generous, so that a slow machine does not fail a row, but far below what
// a hang or a runaway search would take.
constexpr long kRowLimitMs = 2000;

enum class Match { kExact, kPrefix };

struct Row {
  std::string input;  // what the row feeds in, for the failure report
  std::function<void()> action;
  int code;
  std::string message;
  Match match = Match::kExact;
};

// "[code] message" of the store exception action throws, or what else
// happened.
std::string OutcomeOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const ConfigStoreException& e) {
    return "[" + std::to_string(e.GetErrorCode()) + "] " + e.what();
  } catch (const std::exception& e) {
    return std::string("another exception: ") + e.what();
  }
  return "no exception";
}

// Key schemas only the catalogue uses: patterns that backtrack without end
// on the wrong text.
const char* const kEvilSchemas = R"({
  "corv": {
    "evil": {
      "text": {"type": "object", "properties": {
        "nested": {"type": "string", "pattern": "^(a+)+$"},
        "alternate": {"type": "string", "pattern": "^(a|aa)*$"},
        "pairs": {"type": "string", "pattern": "(x+x+)+y"}},
        "patternProperties": {"^(b+)+$": {"type": "integer"}}}
    }
  }
})";

const ConfigStoreObjectId kDns = Id("dns", "net");
const ConfigStoreObjectId kEvil = Id("text", "evil");

// The start of the message of a JSON text refused for reason; the offset
// that follows is the parser's.
std::string BadJson(const std::string& reason) {
  return "Invalid JSON text: " + reason + " at offset ";
}

// A value member holding text as its bytes, for texts that are not JSON.
std::string DomainOf(const std::string& bytes) { return "{\"domain\":\"" + bytes + "\"}"; }

class HostileInputTest : public HostFixture {
 protected:
  void SetUp() override {
    HostFixture::SetUp();
    if (HasFatalFailure()) return;
    ASSERT_GT(env_.LoadSchemas(kEvilSchemas, "evil-schemas.json"), 0);
    store_->Set(MakeObject(kDns, R"({"domain":"a.org","ttl":5,"servers":["1.1.1.1"]})"),
                EXTERNAL);
    store_->SetInstances({MakeObject(Id("iface", "net", "eth0"), R"({"name":"eth0","mtu":1500})"),
                          MakeObject(Id("iface", "net", "eth1"), R"({"name":"eth1"})")},
                         EXTERNAL);
    store_->Set(MakeObject(kEvil, R"({"nested":"aaa"})"), EXTERNAL);
  }

  // Every row of the store and of the schema store.
  std::vector<std::string> Snapshot() const {
    std::vector<std::string> rows = DumpStore();
    for (const std::string& row :
         QueryRows(env_.SchemaStorePath(),
                   "SELECT * FROM Schema ORDER BY Component, ConfigGroup, Name"))
      rows.push_back(row);
    return rows;
  }

  void Expect(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      SCOPED_TRACE(row.input.size() > 200 ? row.input.substr(0, 200) + "..." : row.input);
      const std::vector<std::string> before = Snapshot();
      const Clock::time_point start = Clock::now();
      const std::string outcome = OutcomeOf(row.action);
      const auto elapsed =
          std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
      const std::string expected = "[" + std::to_string(row.code) + "] " + row.message;
      if (row.match == Match::kExact)
        EXPECT_EQ(expected, outcome);
      else
        EXPECT_EQ(expected, outcome.substr(0, expected.size())) << outcome;
      EXPECT_LT(elapsed, kRowLimitMs);
      EXPECT_EQ(before, Snapshot());
    }
  }

  // The rows feeding text as a value to every entry point that takes JSON
  // text from a caller: an object's SetData, the object factory, import
  // and its check.
  std::vector<Row> TextRows(const std::string& name, const std::string& text,
                            const std::string& message) {
    return {
        {name + " / SetData", [text] { MakeObject(kDns, text); }, 1080, message, Match::kPrefix},
        {name + " / CreateObject", [text] { CreateObject(kDns, text); }, 1080, message,
         Match::kPrefix},
        {name + " / Import",
         [text] {
           std::vector<ErrorInfo> errors;
           Import(text, errors);
         },
         1080, message, Match::kPrefix},
        {name + " / ValidateImport",
         [text] {
           std::vector<ErrorInfo> errors;
           ValidateImport(text, errors);
         },
         1080, message, Match::kPrefix},
    };
  }
};

TEST_F(HostileInputTest, MalformedAndTruncatedJson) {
  const std::vector<std::pair<std::string, std::string>> texts = {
      {"", BadJson("The document is empty.")},
      {"   \n\t", BadJson("The document is empty.")},
      {"{", BadJson("Missing a name for object member.")},
      {"}", BadJson("The document is empty.")},
      {R"({"domain":)", BadJson("Invalid value.")},
      {R"({"domain" "a"})", BadJson("Missing a colon after a name of object member.")},
      {R"({"domain":"a",})", BadJson("Missing a name for object member.")},
      {R"({"servers":["a",)", BadJson("Invalid value.")},
      {R"({"servers":["a" "b"]})", BadJson("Missing a comma or ']' after an array element.")},
      {R"({"rotate":tru})", BadJson("Invalid value.")},
      {"{} {}", BadJson("The document root must not be followed by other values.")},
      {"{'domain':1}", BadJson("Missing a name for object member.")},
      {R"({"ttl":01})", BadJson("Missing a comma or '}' after an object member.")},
      {R"({"ttl":1.})", BadJson("Miss fraction part in number.")},
      {R"({"ttl":1e})", BadJson("Miss exponent in number.")},
      {R"({"ttl":1e999})", BadJson("Number too big to be stored in double.")},
      // Found by fuzzing: digits before the exponent pushed the number past
      // the largest double, and the text written from it was cut short.
      {R"({"ttl":184467440737095516e300})", BadJson("Number too big to be stored in double.")},
      {R"({"ttl":-99999999999999999999e300})", BadJson("Number too big to be stored in double.")},
      {R"({"ttl":2e308})", BadJson("Number too big to be stored in double.")},
      {R"({"domain":"\x"})", BadJson("Invalid escape character in string.")},
      {R"({"domain":"\u12G4"})", BadJson("Incorrect hex digit after \\u escape in string.")},
      {R"({"domain":"\ud800"})", BadJson("The surrogate pair in string is invalid.")},
      // Found by fuzzing: a low surrogate without its high half decoded into
      // bytes that are not UTF-8, which every later read and export emitted.
      {R"({"domain":"\udddd"})", BadJson("The surrogate pair in string is invalid.")},
      {R"({"\udc00x":1})", BadJson("The surrogate pair in string is invalid.")},
      {R"({"domain":"abc)", BadJson("Missing a closing quotation mark in string.")},
      {R"({"domain":"a.org","servers":["1.1.1.1","8.8)",
       BadJson("Missing a closing quotation mark in string.")},
      {DomainOf("\x01"), BadJson("Invalid escape character in string.")},
      {DomainOf("tab\there"), BadJson("Invalid escape character in string.")},
  };
  std::vector<Row> rows;
  for (const auto& text : texts) {
    std::vector<Row> each = TextRows(text.first, text.first, text.second);
    rows.insert(rows.end(), each.begin(), each.end());
  }
  Expect(rows);
}

TEST_F(HostileInputTest, TextThatIsNotUtf8) {
  const std::vector<std::string> texts = {
      DomainOf("\xff\xfe"),                       // bytes that never occur in UTF-8
      DomainOf("ok\x80"),                         // a continuation byte on its own
      DomainOf("\xc0\xaf"),                       // an overlong "/"
      DomainOf("\xed\xa0\x80"),                   // a UTF-16 surrogate
      DomainOf("\xe2\x82"),                       // a sequence cut short
      DomainOf("\xf4\x90\x80\x80"),               // beyond U+10FFFF
      DomainOf("\xf8\x88\x80\x80\x80"),           // a five-byte form
      "{\"\xff\":1}",                              // in a member name
      "{\"servers\":[\"1.1.1.1\",\"\xfe\"]}",     // in an array
  };
  std::vector<Row> rows;
  for (const auto& text : texts) {
    std::vector<Row> each =
        TextRows(text, text, BadJson("Invalid encoding in string."));
    rows.insert(rows.end(), each.begin(), each.end());
  }
  Expect(rows);
}

TEST_F(HostileInputTest, NulBytesAndNesting) {
  const std::string nulInString = std::string("{\"domain\":\"a") + '\0' + "b\"}";
  const std::string nulAfterValue = std::string("{}") + '\0' + "{\"domain\":\"x\"}";
  const std::string tooDeep = "{\"options\":" + std::string(256, '[') + std::string(256, ']') + "}";
  const std::string farTooDeep(100000, '[');
  std::vector<Row> rows;
  for (const auto& text : std::vector<std::pair<std::string, std::string>>{
           {tooDeep, BadJson("nesting deeper than 256 levels")},
           {farTooDeep, BadJson("nesting deeper than 256 levels")}}) {
    std::vector<Row> each = TextRows(text.first, text.first, text.second);
    rows.insert(rows.end(), each.begin(), each.end());
  }
  // A C string ends at its NUL, so SetData sees the text cut there; the
  // entry points taking a string see the whole.
  rows.push_back({"NUL in a string / SetData", [&] { MakeObject(kDns, nulInString); }, 1080,
                  BadJson("Missing a closing quotation mark in string."), Match::kPrefix});
  rows.push_back({"NUL in a string / CreateObject", [&] { CreateObject(kDns, nulInString); },
                  1080, BadJson("Missing a closing quotation mark in string."), Match::kPrefix});
  rows.push_back({"NUL after the value / CreateObject", [&] { CreateObject(kDns, nulAfterValue); },
                  1080, BadJson("The document root must not be followed by other values."),
                  Match::kPrefix});
  rows.push_back({"NUL after the value / Import",
                  [&] {
                    std::vector<ErrorInfo> errors;
                    Import(nulAfterValue, errors);
                  },
                  1080, BadJson("The document root must not be followed by other values."),
                  Match::kPrefix});
  Expect(rows);
}

TEST_F(HostileInputTest, HugeInputs) {
  const std::string longString = "{\"domain\":\"" + std::string(2 * 1024 * 1024, 'x');
  std::string longArray = "{\"ttl\":[";
  for (int i = 0; i < 200000; ++i) longArray += i == 0 ? "\"v\"" : ",\"v\"";
  longArray += "]}";
  const std::string longNumber = "{\"ttl\":1" + std::string(400, '0') + "}";
  const std::string manyMembers = [] {
    std::string text = "{";
    for (int i = 0; i < 5000; ++i) text += (i == 0 ? "\"m" : ",\"m") + std::to_string(i) + "\":1";
    return text + "}";
  }();
  Expect({
      {"2 MB unterminated string", [&] { MakeObject(kDns, longString); }, 1080,
       BadJson("Missing a closing quotation mark in string."), Match::kPrefix},
      {"200000 strings for an integer", [&] { store_->Set(MakeObject(kDns, longArray), EXTERNAL); },
       1084, "Configuration failed schema validation"},
      {"200000 strings for an integer, update",
       [&] { store_->Update(MakeObject(kDns, longArray), EXTERNAL); }, 1084,
       "Configuration failed schema validation"},
      {"a 401-digit number", [&] { MakeObject(kDns, longNumber); }, 1080,
       BadJson("Number too big to be stored in double."), Match::kPrefix},
      {"5000 unknown members",
       [&] { store_->Set(MakeObject(Id("motd", "sys"), manyMembers), EXTERNAL); }, 1084,
       "Configuration failed schema validation"},
  });
}

TEST_F(HostileInputTest, HostileNames) {
  const std::vector<std::string> names = {
      "",         "a\"b",     "a'b",        "x'; DROP TABLE Config; --", "..",
      "../..",    "a/b",      "/etc/passwd", "a\nb",                     "a\tb",
      "\x01\x7f", "dns\xff",  "net.dns",    "*",                         "%",
      std::string(10000, 'k')};
  std::vector<Row> rows;
  for (const std::string& name : names) {
    const ConfigStoreObjectId asKey(name, "net", "corv");
    const ConfigStoreObjectId asGroup("dns", name, "corv");
    const ConfigStoreObjectId asComponent("dns", "net", name);
    const std::string keyMessage = "Schema not found for: comp corv grp net key " + name;
    rows.push_back({"key " + name + " / Get", [=] { store_->Get(asKey); }, 1037, keyMessage});
    rows.push_back({"key " + name + " / Set",
                    [=] { store_->Set(MakeObject(asKey, "{}"), EXTERNAL); }, 1037, keyMessage});
    rows.push_back({"key " + name + " / Delete", [=] { store_->Delete(asKey); }, 1037, keyMessage});
    rows.push_back({"group " + name + " / Update",
                    [=] { store_->Update(MakeObject(asGroup, R"({"ttl":1})"), EXTERNAL); }, 1037,
                    "Schema not found for: comp corv grp " + name + " key dns"});
    rows.push_back({"component " + name + " / SetVitalData",
                    [=] { store_->SetVitalData(MakeObject(asComponent, R"({"uptime":1})")); },
                    1037, "Schema not found for: comp " + name + " grp net key dns"});
    if (name.empty()) continue;
    // A singleton has no instances, whatever the instance id looks like.
    const ConfigStoreObjectId instance("dns", "net", "corv", name);
    rows.push_back({"instance " + name + " / Get", [=] { store_->Get(instance); }, 2000,
                    "Singleton object cannot contain instanceId"});
    rows.push_back({"instance " + name + " / Delete", [=] { store_->Delete(instance); }, 2000,
                    "Singleton object cannot contain instanceId"});
  }
  Expect(rows);
}

TEST_F(HostileInputTest, WrongTypesEverywhere) {
  auto set = [this](const ConfigStoreObjectId& id, const std::string& text) {
    return [this, id, text] { store_->Set(MakeObject(id, text), EXTERNAL); };
  };
  auto update = [this](const ConfigStoreObjectId& id, const std::string& text) {
    return [this, id, text] { store_->Update(MakeObject(id, text), EXTERNAL); };
  };
  const std::string invalid = "Configuration failed schema validation";
  const ConfigStoreObjectId eth0 = Id("iface", "net", "eth0");
  Expect({
      {R"(Set {"domain":5})", set(kDns, R"({"domain":5})"), 1084, invalid},
      {R"(Set {"ttl":"5"})", set(kDns, R"({"ttl":"5"})"), 1084, invalid},
      {R"(Set {"ttl":-1})", set(kDns, R"({"ttl":-1})"), 1084, invalid},
      {R"(Set {"ttl":1.5})", set(kDns, R"({"ttl":1.5})"), 1084, invalid},
      {R"(Set {"ttl":true})", set(kDns, R"({"ttl":true})"), 1084, invalid},
      {R"(Set {"servers":"a"})", set(kDns, R"({"servers":"a"})"), 1084, invalid},
      {R"(Set {"servers":[1]})", set(kDns, R"({"servers":[1]})"), 1084, invalid},
      {R"(Set {"options":[]})", set(kDns, R"({"options":[]})"), 1084, invalid},
      {R"(Set {"options":{"rotate":"yes"}})", set(kDns, R"({"options":{"rotate":"yes"}})"), 1084,
       invalid},
      {R"(Set {"hosts":{}})", set(kDns, R"({"hosts":{}})"), 1084, invalid},
      {R"(Update {"ttl":"x"})", update(kDns, R"({"ttl":"x"})"), 1084, invalid},
      {R"(Update {"options":{"ndots":[]}})", update(kDns, R"({"options":{"ndots":[]}})"), 1084,
       invalid},
      {R"(Set eth0 {"mtu":"big"})", set(eth0, R"({"name":"eth0","mtu":"big"})"), 1084, invalid},
      {R"(Set eth0 {"enabled":0})", set(eth0, R"({"name":"eth0","enabled":0})"), 1084, invalid},
      {"SetInstances of a singleton",
       [this] { store_->SetInstances({MakeObject(kDns, R"({"domain":"b"})")}, EXTERNAL); }, 2000,
       "API called for singleton object, non-singleton expected"},
      {"SetInstances mixing keys",
       [this, eth0] {
         store_->SetInstances({MakeObject(eth0, R"({"name":"eth0"})"),
                               MakeObject(Id("iface", "lab", "eth0"), R"({"name":"eth0"})")},
                              EXTERNAL);
       },
       1062, "All configuration objects must have the same component, group and key"},
      {"SetInstances of nothing but null",
       [this] { store_->SetInstances({nullptr, nullptr}, EXTERNAL); }, 1061,
       "The list of configuration objects is empty"},
      {"Set of an instance key without an instance id", set(Id("iface", "net"), R"({"mtu":1})"),
       2000, "Non-Singleton object should contain instanceId"},
      {"GetKernelOptions of another key", [] { GetKernelOptions(kDns); }, 2000,
       "API should only be invoked for Kernel options configuration."},
      {"UpdateKernelOptions of another key",
       [] { UpdateKernelOptions(MakeObject(kDns, R"({"ttl":1})")); }, 2000,
       "API should only be invoked for Kernel options configuration."},
      {"UpdateKernelOptions with a wrong type",
       [] { UpdateKernelOptions(MakeObject(Id("options", "kestrel"), R"({"quiet":"yes"})")); },
       1084, invalid},
  });
}

// JSON text may repeat a member name, and the parser keeps both members;
// no write lets such a value into the store, where a read that merges
// layers would keep the last member and a plain read the first. Found by
// fuzzing import: an instance with "name" and "mtu" twice was imported,
// and its export changed when imported again.
TEST_F(HostileInputTest, RepeatedMemberNames) {
  auto set = [this](const ConfigStoreObjectId& id, const std::string& text) {
    return [this, id, text] { store_->Set(MakeObject(id, text), EXTERNAL); };
  };
  const std::string invalid = "Configuration failed schema validation";
  const ConfigStoreObjectId eth0 = Id("iface", "net", "eth0");
  const std::string twice = R"({"name":"eth0","mtu":9000,"speed":10,"mtu":1500})";
  Expect({
      {"Set", set(kDns, R"({"ttl":1,"ttl":2})"), 1084, invalid},
      {"Set, nested", set(kDns, R"({"options":{"ndots":1,"rotate":true,"ndots":2}})"), 1084,
       invalid},
      {"Set, in a list", set(kDns, R"({"hosts":[{"name":"a","ip":"1","ip":"2"}]})"), 1084,
       invalid},
      {"Set of an instance", set(eth0, twice), 1084, invalid},
      {"Update", [this] { store_->Update(MakeObject(kDns, R"({"ttl":1,"ttl":1})"), EXTERNAL); },
       1084, invalid},
      {"SetInstances", [this, eth0, twice] { store_->SetInstances({MakeObject(eth0, twice)},
                                                                  EXTERNAL); },
       1084, invalid},
      {"SetVitalData",
       [this] { store_->SetVitalData(MakeObject(kDns, R"({"uptime":1,"uptime":2})")); }, 1084,
       invalid},
  });

  try {
    store_->Set(MakeObject(eth0, twice), EXTERNAL);
    FAIL() << "a value with a repeated name was stored";
  } catch (const ValidationException& e) {
    ASSERT_EQ(e.GetErrors().size(), 1u);
    EXPECT_EQ(e.GetErrors()[0].location, "/mtu");
    EXPECT_EQ(e.GetErrors()[0].message, "the object holds more than one member of this name");
  }

  const std::vector<std::string> before = Snapshot();
  std::vector<ErrorInfo> errors;
  EXPECT_FALSE(Import(R"({"corv":{"net":{"iface":[)" + twice + "]}}}", errors));
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].location, "/corv/net/iface/0/mtu");
  EXPECT_EQ(before, Snapshot());
}

TEST_F(HostileInputTest, CatastrophicPatterns) {
  auto set = [this](const std::string& text) {
    return [this, text] { store_->Set(MakeObject(kEvil, text), EXTERNAL); };
  };
  const std::string invalid = "Configuration failed schema validation";
  const std::string as(40, 'a');
  const std::string xs(40, 'x');
  const std::string bs(40, 'b');
  Expect({
      {"nested quantifier", set("{\"nested\":\"" + as + "!\"}"), 1084, invalid},
      {"nested quantifier, long", set("{\"nested\":\"" + std::string(100000, 'a') + "!\"}"), 1084,
       invalid},
      {"overlapping alternation", set("{\"alternate\":\"" + as + "!\"}"), 1084, invalid},
      {"overlapping pairs", set("{\"pairs\":\"" + xs + "\"}"), 1084, invalid},
      {"nested quantifier in a member name", set("{\"" + bs + "!\":1, \"" + bs + "\":\"s\"}"),
       1084, invalid},
      {"nested quantifier, update", [this, as] {
         store_->Update(MakeObject(kEvil, "{\"nested\":\"" + as + "!\"}"), EXTERNAL);
       },
       1084, invalid},
  });
}

TEST_F(HostileInputTest, HostileSchemaFiles) {
  auto load = [this](const std::string& name, const std::string& text) {
    const std::string path = env_.Dir().Write(name, text);
    return [path] { LoadSchemaFile(path); };
  };
  const std::string invalidIn = "Invalid JSON in schema file " + env_.Dir().File("");
  Expect({
      {"truncated schema file", load("truncated.json", R"({"corv":{"x":{"k":{"type":)"), 2000,
       invalidIn + "truncated.json: Invalid value.", Match::kPrefix},
      {"schema file not UTF-8",
       load("latin1.json",
            "{\"corv\":{\"x\":{\"k\":{\"type\":\"object\",\"title\":\"caf\xe9\"}}}}"),
       2000, invalidIn + "latin1.json: Invalid encoding in string.", Match::kPrefix},
      {"schema file nested too deep",
       load("deep.json", std::string(300, '[') + std::string(300, ']')), 2000,
       invalidIn + "deep.json: nesting deeper than 256 levels", Match::kPrefix},
      {"schema file with a NUL after the value",
       load("nul.json", std::string("{}") + '\0' + "{\"corv\":{}}"), 2000,
       invalidIn + "nul.json: The document root must not be followed by other values.",
       Match::kPrefix},
      {"schema file of a missing path", [this] { LoadSchemaFile(env_.Dir().File("absent.json")); },
       2000, "Cannot read schema file " + env_.Dir().File("absent.json"), Match::kPrefix},
  });
}

}  // namespace
