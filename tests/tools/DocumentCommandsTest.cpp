// corvcfg export, import and validate: whole-store documents through files
// and standard input and output, progress on a terminal, and checks that
// write nothing.
#include <sys/stat.h>

#include <filesystem>

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
  EXPECT_EQ(exported.out, "Exported 5 keys, 4 instances to " + file + "\n");
  EXPECT_EQ(exported.err, "");
  std::string text = CorvTest::ReadText(file);
  EXPECT_TRUE(SameJson(text, kEverything)) << text;
  struct stat status;
  ASSERT_EQ(stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);

  UseFreshStore("fresh.db");
  Outcome imported = Corvcfg({"import", file});
  EXPECT_EQ(imported.status, 0) << imported.err;
  EXPECT_EQ(imported.out, "Imported 5 keys, 4 instances from " + file + " into " + store_ + "\n");
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

// A document file is replaced only by a whole export: one that fails
// leaves the previous file as it was, and no partial file beside it.
TEST_F(DocumentCommandsTest, AFailedExportLeavesThePreviousFile) {
  std::string file = dir_.Write("previous.json", "{\"kept\":true}\n");
  Outcome failed =
      Corvcfg({"--db", dir_.File("absent.db"), "export", "lab.net.dns", "-o", file});
  EXPECT_EQ(failed.status, 4);
  EXPECT_EQ(CorvTest::ReadText(file), "{\"kept\":true}\n");
  for (const auto& entry : std::filesystem::directory_iterator(dir_.Path()))
    EXPECT_EQ(entry.path().filename().string().rfind("previous.json.", 0), std::string::npos)
        << entry.path();
  Ok({"export", "lab.net.dns", "-o", file});
  EXPECT_EQ(CorvTest::ReadText(file), "{\"lab\":{\"net\":{\"dns\":{\"servers\":[\"10.0.0.1\"],\"ndots\":2}}}}\n");
}

TEST_F(DocumentCommandsTest, ImportFromStandardInputReplacesWhatItNames) {
  Outcome run = Corvcfg({"import"}, R"({"lab": {"net": {"nics": [{"name": "eth9"}], "dns": null}}})");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "Imported 2 keys, 1 instance from standard input into " + store_ + "\n");
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
  EXPECT_EQ(text.err,
            "[1080] Invalid JSON text: Missing a name for object member. at offset 1 (line 1, "
            "column 2)\n");
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

// The final frame of a bar and the clearing of its line.
std::string FinalBar(const std::string& what, const std::string& count) {
  return "\r" + what + " [" + std::string(30, '#') + "] 100% " + count + "\033[K\r\033[K";
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

TEST_F(DocumentCommandsTest, ACountedBarIsShownOnATerminalForLongWork) {
  // Work counts as long from the moment it starts here.
  RunRequest request;
  request.environment["CORVCFG_PROGRESS_AFTER_MS"] = "0";
  request.err = Stream::kTerminal;
  request.args = {"export", "-o", dir_.File("out.json")};
  Outcome exported = Corvcfg(request);
  EXPECT_EQ(exported.status, 0) << exported.err;
  EXPECT_EQ(exported.err.rfind("\rExporting [", 0), 0u) << exported.err;
  EXPECT_TRUE(EndsWith(exported.err, FinalBar("Exporting", "5/5 keys, 4 instances")))
      << exported.err;
  EXPECT_EQ(exported.out, "Exported 5 keys, 4 instances to " + dir_.File("out.json") + "\n");

  request.args = {"import", dir_.File("out.json")};
  Outcome imported = Corvcfg(request);
  EXPECT_EQ(imported.status, 0) << imported.err;
  EXPECT_EQ(imported.err.rfind("\rImporting [", 0), 0u) << imported.err;
  EXPECT_TRUE(EndsWith(imported.err, FinalBar("Importing", "4/4 instances"))) << imported.err;

  // The document on standard output, the bar and what it held on standard
  // error.
  request.args = {"export", "lab.net"};
  Outcome streamed = Corvcfg(request);
  EXPECT_EQ(streamed.status, 0) << streamed.err;
  EXPECT_TRUE(SameJson(streamed.out, Ok({"export", "lab.net"}))) << streamed.out;
  EXPECT_TRUE(EndsWith(streamed.err, FinalBar("Exporting", "3/3 keys, 4 instances") +
                                         "Exported 3 keys, 4 instances\n"))
      << streamed.err;
}

TEST_F(DocumentCommandsTest, NoBarInAPipeOrForShortWorkOrAmongTheDocumentsLines) {
  RunRequest request;
  request.args = {"import", dir_.Write("doc.json", kEverything)};
  request.environment["CORVCFG_PROGRESS_AFTER_MS"] = "0";
  // Through a pipe, standard error stays silent.
  Outcome piped = Corvcfg(request);
  EXPECT_EQ(piped.status, 0) << piped.err;
  EXPECT_EQ(piped.err, "");
  request.args = {"export"};
  EXPECT_EQ(Corvcfg(request).err, "");
  // On a terminal, work shorter than a second shows no bar.
  request.environment.erase("CORVCFG_PROGRESS_AFTER_MS");
  request.err = Stream::kTerminal;
  request.args = {"import", dir_.File("doc.json")};
  Outcome quick = Corvcfg(request);
  EXPECT_EQ(quick.status, 0);
  EXPECT_EQ(quick.err, "");
  // A document printed on the terminal is not broken by a bar; what it
  // held follows it.
  request.environment["CORVCFG_PROGRESS_AFTER_MS"] = "0";
  request.out = Stream::kTerminal;
  request.args = {"--compact", "export", "lab.net.dns"};
  Outcome shown = Corvcfg(request);
  EXPECT_EQ(shown.status, 0);
  EXPECT_EQ(shown.out,
            "{\"lab\":{\"net\":{\"dns\":{\"servers\":[\"10.0.0.1\"],\"ndots\":2}}}}\n"
            "Exported 1 key, 1 instance\n");
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

TEST_F(DocumentCommandsTest, ValidateTakesTheDocumentsFileAsImportDoes) {
  const std::string file = dir_.Write("doc.json", R"({"lab": {"net": {"dns": {"ndots": 3}}}})");
  Outcome positional = Corvcfg({"validate", "--document", file});
  EXPECT_EQ(positional.status, 0) << positional.err;
  EXPECT_EQ(positional.out, "Document: valid\n");
  // --file stays a way to name it.
  EXPECT_EQ(Ok({"validate", "--document", "--file", file}), "Document: valid\n");
  EXPECT_EQ(Ok({"validate", "--document", "-"}, CorvTest::ReadText(file)), "Document: valid\n");
  Outcome two = Corvcfg({"validate", "--document", file, "--json", "{}"});
  EXPECT_EQ(two.status, 2);
  EXPECT_EQ(two.err,
            "Give the document as FILE, --json TEXT or --file PATH, not two\n"
            "Run with --help for more information.\n");
  Outcome missing = Corvcfg({"validate", "--document", dir_.File("absent.json")});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err,
            "[1081] Cannot read " + dir_.File("absent.json") + ": No such file or directory\n");
  Outcome broken =
      Corvcfg({"validate", "--document", dir_.Write("broken.json", "{\"lab\": {\n  \"net\": x}}")});
  EXPECT_EQ(broken.status, 1);
  EXPECT_EQ(broken.err, "[1080] Invalid JSON text: Invalid value. at offset 19 (line 2, column 10)\n");
  RunRequest terminal;
  terminal.args = {"validate", "--document", "-"};
  terminal.in = Stream::kTerminal;
  Outcome waiting = Corvcfg(terminal);
  EXPECT_EQ(waiting.status, 2);
  EXPECT_EQ(waiting.err,
            "A document is required: give FILE or standard input\n"
            "Run with --help for more information.\n");
}

TEST_F(DocumentCommandsTest, ImportAndExportCountKeysAndInstances) {
  std::string many = R"({"lab": {"net": {"nics": [)";
  for (int i = 0; i < 250; ++i) many += (i ? "," : "") + std::string(R"({"name": "n)") + std::to_string(i) + "\"}";
  many += R"(], "dns": null, "routes": [{"to": "x"}]}}})";
  Outcome imported = Corvcfg({"import", "-"}, many);
  EXPECT_EQ(imported.status, 0) << imported.err;
  EXPECT_EQ(imported.out, "Imported 3 keys, 251 instances from standard input into " + store_ + "\n");
  Outcome exported = Corvcfg({"--pretty", "export", "lab.net", "-o", dir_.File("net.json")});
  EXPECT_EQ(exported.out, "Exported 3 keys, 251 instances to " + dir_.File("net.json") + "\n");
  // Braces and quotes inside strings are not mistaken for structure.
  Ok({"set", "lab.net.nics", "--json", R"({"name": "a{[\"}]\\"})"});
  EXPECT_EQ(Ok({"export", "lab.net.nics", "-o", dir_.File("one.json")}),
            "Exported 1 key, 251 instances to " + dir_.File("one.json") + "\n");
}

}  // namespace
