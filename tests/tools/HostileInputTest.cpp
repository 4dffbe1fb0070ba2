// A catalogue of hostile inputs to corvcfg: each row is a command line and
// its standard input, the exit status and error text it must be answered
// with, and the promise that it is answered quickly and leaves every row of
// the store as it was.
#include <chrono>

#include "CorvcfgSupport.h"
#include "support/StoreEnvironment.h"

using CorvTest::Outcome;

namespace {

using Clock = std::chrono::steady_clock;

// Generous, so that a slow machine does not fail a row, but far below what
// a hang would take.
constexpr long kRowLimitMs = 2000;

struct Row {
  std::vector<std::string> args;
  std::string input;
  int status;
  std::string err;  // the whole of standard error
};

// The texts of these rows are one line of single-byte characters up to
// their fault, so the column is the offset plus one.
std::string BadJson(const std::string& reason, size_t offset) {
  return "[1080] Invalid JSON text: " + reason + " at offset " + std::to_string(offset) +
         " (line 1, column " + std::to_string(offset + 1) + ")\n";
}

std::string Printable(const std::vector<std::string>& args, const std::string& input) {
  std::string line;
  for (const std::string& arg : args) line += (line.empty() ? "" : " ") + arg.substr(0, 80);
  return line + " <<< " + input.substr(0, 80);
}

class HostileCommandsTest : public CorvTest::CorvcfgTest {
 protected:
  void SetUp() override {
    SetUpStore();
    Ok({"set", "lab.net.dns", "--json", R"({"servers": ["10.0.0.1"], "ndots": 2})"});
    Ok({"set", "lab.net.nics", "--json", R"([{"name": "eth0", "mtu": 1500}])"});
  }

  std::vector<std::string> DumpStore() const {
    return CorvTest::QueryRows(store_,
                               "SELECT * FROM Config ORDER BY Component, ConfigGroup, Name, "
                               "Identifier");
  }

  void Expect(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      SCOPED_TRACE(Printable(row.args, row.input));
      const std::vector<std::string> before = DumpStore();
      const Clock::time_point start = Clock::now();
      Outcome run = Corvcfg(row.args, row.input);
      const auto elapsed =
          std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
      EXPECT_EQ(row.status, run.status);
      EXPECT_EQ(row.err, run.err);
      EXPECT_EQ("", run.out);
      EXPECT_LT(elapsed, kRowLimitMs);
      EXPECT_EQ(before, DumpStore());
    }
  }
};

TEST_F(HostileCommandsTest, ValuesThatAreNotJson) {
  const std::string nulInString = std::string("{\"ndots\":\"a") + '\0' + "\"}";
  const std::string nulAfterValue = std::string("{\"ndots\":3}") + '\0' + "{\"ndots\":4}";
  const std::string deep = "{\"servers\":" + std::string(300, '[') + std::string(300, ']') + "}";
  const std::string huge = "{\"servers\":[\"" + std::string(2 * 1024 * 1024, 'x');
  Expect({
      {{"set", "lab.net.dns"}, "{\"servers\":[\"\xff\xfe\"]}", 1,
       BadJson("Invalid encoding in string.", 13)},
      {{"set", "lab.net.dns"}, "{\"servers\":[\"\xc0\xaf\"]}", 1,
       BadJson("Invalid encoding in string.", 13)},
      {{"set", "lab.net.dns"}, "{\"servers\":[\"\xed\xa0\x80\"]}", 1,
       BadJson("Invalid encoding in string.", 13)},
      {{"set", "lab.net.dns"}, "{\"\x80\":1}", 1, BadJson("Invalid encoding in string.", 2)},
      {{"update", "lab.net.dns"}, "{\"servers\":[\"caf\xe9\"]}", 1,
       BadJson("Invalid encoding in string.", 16)},
      {{"set", "lab.net.nics"}, "[{\"name\":\"eth\xf8\"}]", 1,
       BadJson("Invalid encoding in string.", 13)},
      {{"import"}, "{\"lab\":{\"net\":{\"dns\":{\"servers\":[\"\xff\"]}}}}", 1,
       BadJson("Invalid encoding in string.", 34)},
      {{"set", "lab.net.dns"}, nulInString, 1,
       BadJson("Missing a closing quotation mark in string.", 11)},
      {{"set", "lab.net.dns"}, nulAfterValue, 1,
       BadJson("The document root must not be followed by other values.", 11)},
      {{"import"}, std::string("{}") + '\0' + "{\"lab\":{}}", 1,
       BadJson("The document root must not be followed by other values.", 2)},
      {{"set", "lab.net.dns"}, deep, 1, BadJson("nesting deeper than 256 levels", 266)},
      {{"set", "lab.net.dns"}, huge, 1,
       BadJson("Missing a closing quotation mark in string.", huge.size())},
      {{"set", "lab.net.dns"}, R"({"ndots":)", 1, BadJson("Invalid value.", 9)},
      {{"set", "lab.net.dns"}, R"({"ndots":2,})", 1,
       BadJson("Missing a name for object member.", 11)},
      {{"set", "lab.net.dns", "--json", "{'ndots':2}"}, "", 1,
       BadJson("Missing a name for object member.", 1)},
      {{"update", "lab.net.dns", "--json", R"({"ndots":2} {})"}, "", 1,
       BadJson("The document root must not be followed by other values.", 12)},
      {{"update", "lab.net.nics", "--id", "eth0"}, R"({"mtu":1e999})", 1,
       BadJson("Number too big to be stored in double.", 7)},
      {{"import"}, R"({"lab":{"net":)", 1, BadJson("Invalid value.", 14)},
  });
}

TEST_F(HostileCommandsTest, WrongTypes) {
  const std::string invalid = "[1084] Configuration failed schema validation\n";
  Expect({
      {{"set", "lab.net.dns", "--json", R"({"ndots":"2"})"}, "", 1,
       invalid + "  /ndots: expected type integer, found string\n"},
      {{"set", "lab.net.dns", "--json", R"({"servers":"a"})"}, "", 1,
       invalid + "  /servers: expected type array, found string\n"},
      {{"update", "lab.net.dns", "--json", R"({"rotate":1})"}, "", 1,
       invalid + "  /rotate: expected type boolean, found number\n"},
      {{"set", "lab.net.nics", "--json", R"([{"name":"eth1","mtu":"big"}])"}, "", 1,
       invalid + "  /mtu: expected type integer, found string\n"},
  });
}

TEST_F(HostileCommandsTest, HostileNames) {
  const std::vector<std::string> keys = {
      "a'b", "a\"b", "x;rm", "..", "a/b", "\x01", "k\xff", std::string(10000, 'k')};
  // The program refuses such a name itself, as a usage error, before the
  // library sees it.
  std::vector<Row> rows;
  for (const std::string& key : keys) {
    const std::string name = "lab.net." + key;
    const std::string usage = "Run with --help for more information.\n";
    rows.push_back({{"get", name}, "", 2,
                    "NAME: \"" + name +
                        "\" is not a component, component.group or component.group.key "
                        "(letters, digits, '_' and '-')\n" + usage});
    const std::string notAKey = "NAME: \"" + name +
                                "\" is not a key name component.group.key "
                                "(letters, digits, '_' and '-')\n" + usage;
    rows.push_back({{"set", name, "--json", "{}"}, "", 2, notAKey});
    rows.push_back({{"delete", name}, "", 2, notAKey});
  }
  Expect(rows);
}

}  // namespace
