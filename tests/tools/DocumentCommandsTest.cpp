// corvcfg export, import and validate: whole-store documents through files
// and standard input and output, progress on a terminal, and checks that
// write nothing.
#include <sys/stat.h>

#include "CorvcfgSupport.h"

using CorvTest::Outcome;
using CorvTest::RunRequest;
using CorvTest::SameJson;
using CorvTest::Stream;

namespace {

class DocumentCommandsTest : public CorvTest::CorvcfgTest {
 protected:
  void SetUp() override {
    SetUpStore();
    Ok({"set", "lab.net.dns", "--json", R"({"servers": ["10.0.0.1"], "ndots": 2})"});
    Ok({"set", "lab.net.nics", "--json", R"([{"name": "eth0", "mtu": 9000}, {"name": "eth1"}])"});
    Ok({"set", "lab.net.nics", "--layer", "vital", "--json", R"({"name": "eth0", "mac": "aa"})"});
    Ok({"set", "lab.net.routes", "--json", R"([{"to": "a", "via": "b"}])"});
  }

  // Points the program at another, freshly set up store.
  void UseFreshStore(const std::string& name) {
    store_ = dir_.File(name);
    ASSERT_EQ(Corvcfg({"store", "init"}).status, 0);
  }
};

const char* const kEverything = R"({
  "lab": {
    "net": {
      "dns": {"servers": ["10.0.0.1"], "ndots": 2},
      "nics": [{"name": "eth0", "mtu": 9000, "mac": "aa"}, {"name": "eth1"}],
      "routes": [{"to": "a", "via": "b"}]
    },
    "boot": {"settings": null}
  },
  "corv": {"kestrel": {"options": null}}
})";

TEST_F(DocumentCommandsTest, ExportToAFileImportsIntoAFreshStoreAsItWas) {
  std::string file = dir_.File("export.json");
  Outcome exported = Corvcfg({"export", "--output", file});
  EXPECT_EQ(exported.status, 0) << exported.err;
  EXPECT_EQ(exported.out, "Exported 5 configurations to " + file + "\n");
  EXPECT_EQ(exported.err, "");
  std::string text = CorvTest::ReadText(file);
  EXPECT_TRUE(SameJson(text, kEverything)) << text;
  struct stat status;
  ASSERT_EQ(stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);

  UseFreshStore("fresh.db");
  Outcome imported = Corvcfg({"import", file});
  EXPECT_EQ(imported.status, 0) << imported.err;
  EXPECT_EQ(imported.out, "Imported 5 configurations from " + file + " into " + store_ + "\n");
  EXPECT_EQ(imported.err, "");
  std::string again = Ok({"export"});
  EXPECT_TRUE(SameJson(again, text)) << again;
  EXPECT_EQ(Ok({"get", "lab.net.nics", "--id", "eth0"}),
            Ok({"--db", dir_.File("store.db"), "get", "lab.net.nics", "--id", "eth0"}));
}

TEST_F(DocumentCommandsTest, ExportOfNamedKeysGroupsAndComponents) {
  EXPECT_EQ(Ok({"export", "lab.net.dns"}), "{\"lab\":{\"net\":{\"dns\":{\"servers\":[\"10.0.0.1\"],\"ndots\":2}}}}\n");
  EXPECT_TRUE(SameJson(Ok({"export", "lab.boot", "lab.net.dns", "corv"}),
                       R"({"lab": {"boot": {"settings": null},
                                   "net": {"dns": {"servers": ["10.0.0.1"], "ndots": 2}}},
                           "corv": {"kestrel": {"options": null}}})"));
  // A name given twice is exported once.
  EXPECT_TRUE(SameJson(Ok({"export", "lab.net", "lab.net.dns"}), Ok({"export", "lab.net"})));
  Outcome unknown = Corvcfg({"export", "lab.net.dns", "nope"});
  EXPECT_EQ(unknown.status, 3);
  EXPECT_EQ(unknown.out, "");
  EXPECT_EQ(unknown.err,
            "[1037] Schema not found for: nope\n"
            "hint: `corvcfg schema list --names` lists the known keys\n");
}

TEST_F(DocumentCommandsTest, ExportFollowsTheOutputStyle) {
  std::string file = dir_.File("pretty.json");
  Ok({"--pretty", "export", "lab.net.dns", "-o", file});
  EXPECT_EQ(CorvTest::ReadText(file),
            "{\n  \"lab\": {\n    \"net\": {\n      \"dns\": {\n        \"servers\": [\n"
            "          \"10.0.0.1\"\n        ],\n        \"ndots\": 2\n      }\n    }\n  }\n}\n");
  Ok({"export", "lab.net.dns", "-o", file});
  EXPECT_EQ(CorvTest::ReadText(file), "{\"lab\":{\"net\":{\"dns\":{\"servers\":[\"10.0.0.1\"],\"ndots\":2}}}}\n");
  Outcome unwritable = Corvcfg({"export", "-o", dir_.File("no-dir/x.json")});
  EXPECT_EQ(unwritable.status, 1);
  EXPECT_EQ(unwritable.err,
            "[2000] Cannot write " + dir_.File("no-dir/x.json") + ": No such file or directory\n");
}

// The document is written as it is read, so a full disk shows while writing.
TEST_F(DocumentCommandsTest, AFailedWriteOfTheExportIsReported) {
  Outcome full = Corvcfg({"export", "-o", "/dev/full"});
  EXPECT_EQ(full.status, 1);
  EXPECT_EQ(full.err, "[2000] Cannot write /dev/full: No space left on device\n");
  EXPECT_EQ(full.out, "");
}

TEST_F(DocumentCommandsTest, ImportFromStandardInputReplacesWhatItNames) {
  Outcome run = Corvcfg({"import"}, R"({"lab": {"net": {"nics": [{"name": "eth9"}], "dns": null}}})");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "Imported 2 configurations from standard input into " + store_ + "\n");
  EXPECT_EQ(Ok({"ids", "lab.net.nics"}), "[\"eth9\"]\n");
  EXPECT_EQ(Absent({"get", "lab.net.dns"}), "null\n");
  // Keys the document does not name stay.
  EXPECT_EQ(Ok({"get", "lab.net.routes"}), "[{\"to\":\"a\",\"via\":\"b\"}]\n");
  Ok({"import", "-"}, R"({"lab": {"net": {"dns": {"ndots": 7}}}})");
  EXPECT_EQ(Ok({"get", "lab.net.dns"}), "{\"ndots\":7}\n");
}

TEST_F(DocumentCommandsTest, AnInvalidImportChangesNothingAndListsItsRecords) {
  const std::string before = Ok({"export"});
  std::string file = dir_.Write(
      "bad.json", R"({"lab": {"net": {"dns": {"ndots": 99}, "nics": [{"mtu": 9000}]}, "nope": {}}})");
  Outcome run = Corvcfg({"import", file});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "[1084] The document is not valid; nothing was imported\n"
            "  /lab/net/dns/ndots: value 99 is greater than maximum 15\n"
            "  /lab/net/nics/0: missing required member \"name\"\n"
            "  /lab/nope: member \"nope\" is not allowed by additionalProperties false\n");
  EXPECT_EQ(Ok({"export"}), before);

  Outcome text = Corvcfg({"import"}, "{");
  EXPECT_EQ(text.status, 1);
  EXPECT_EQ(text.err, "[1080] Invalid JSON text: Missing a name for object member. at offset 1\n");
  Outcome missing = Corvcfg({"import", dir_.File("absent.json")});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "[1081] Cannot read " + dir_.File("absent.json") + ": No such file or directory\n");
  RunRequest terminal;
  terminal.args = {"import"};
  terminal.in = Stream::kTerminal;
  Outcome waiting = Corvcfg(terminal);
  EXPECT_EQ(waiting.status, 2);
  EXPECT_EQ(waiting.err,
            "A document is required: give FILE or standard input\n"
            "Run with --help for more information.\n");
  EXPECT_EQ(Ok({"export"}), before);
}

TEST_F(DocumentCommandsTest, ProgressIsShownOnlyOnATerminal) {
  RunRequest request;
  request.args = {"export", "-o", dir_.File("out.json")};
  request.err = Stream::kTerminal;
  Outcome exported = Corvcfg(request);
  EXPECT_EQ(exported.status, 0);
  // The spinner's line is drawn, then cleared.
  EXPECT_EQ(exported.err.rfind("\rExporting 5 configurations ... |", 0), 0u) << exported.err;
  EXPECT_EQ(exported.err.substr(exported.err.size() - 4), "\r\033[K");

  request.args = {"import", dir_.File("out.json")};
  Outcome imported = Corvcfg(request);
  EXPECT_EQ(imported.status, 0);
  EXPECT_EQ(imported.err.rfind("\rImporting 5 configurations ... |", 0), 0u) << imported.err;
  EXPECT_EQ(imported.err.substr(imported.err.size() - 4), "\r\033[K");

  // Through a pipe, standard error stays silent.
  EXPECT_EQ(Corvcfg({"import", dir_.File("out.json")}).err, "");
}

TEST_F(DocumentCommandsTest, ValidateAValueWritesNothing) {
  Outcome valid = Corvcfg({"validate", "lab.net.dns", "--json", R"({"ndots": 3})"});
  EXPECT_EQ(valid.status, 0) << valid.err;
  EXPECT_EQ(valid.out, "lab.net.dns: valid\n");
  Outcome invalid = Corvcfg({"validate", "lab.net.dns"}, R"({"ndots": 30, "other": 1})");
  EXPECT_EQ(invalid.status, 1);
  EXPECT_EQ(invalid.out, "");
  EXPECT_EQ(invalid.err,
            "[1084] The value is not valid for lab.net.dns\n"
            "  /ndots: value 30 is greater than maximum 15\n"
            "  /other: member \"other\" is not allowed by additionalProperties false\n");
  // Records of an array's elements point into the array.
  Outcome array = Corvcfg({"validate", "lab.net.nics", "--json", R"([{"name": "eth0"}, {"name": "eth1", "mtu": 1}])"});
  EXPECT_EQ(array.status, 1);
  EXPECT_EQ(array.err,
            "[1084] The value is not valid for lab.net.nics\n"
            "  /1/mtu: value 1 is less than minimum 68\n");
  EXPECT_EQ(Ok({"get", "lab.net.dns"}), "{\"servers\":[\"10.0.0.1\"],\"ndots\":2}\n");
}

TEST_F(DocumentCommandsTest, ValidateADocumentAsImportWould) {
  Outcome valid = Corvcfg({"validate", "--document", "--json", R"({"lab": {"net": {"dns": {"ndots": 3}}}})"});
  EXPECT_EQ(valid.status, 0) << valid.err;
  EXPECT_EQ(valid.out, "Document: valid\n");
  Outcome invalid = Corvcfg({"validate", "--document"}, R"({"lab": {"net": {"dns": {"ndots": "x"}}}, "x": 1})");
  EXPECT_EQ(invalid.status, 1);
  EXPECT_EQ(invalid.err,
            "[1084] The document is not valid\n"
            "  /lab/net/dns/ndots: expected type integer, found string\n"
            "  /x: member \"x\" is not allowed by additionalProperties false\n");
  EXPECT_EQ(Ok({"get", "lab.net.dns"}), "{\"servers\":[\"10.0.0.1\"],\"ndots\":2}\n");

  Outcome neither = Corvcfg({"validate", "--json", "{}"});
  EXPECT_EQ(neither.status, 2);
  EXPECT_EQ(neither.err, "Give a key NAME, or --document\nRun with --help for more information.\n");
  EXPECT_EQ(Corvcfg({"validate", "lab.net.dns", "--document", "--json", "{}"}).status, 2);
}

}  // namespace
