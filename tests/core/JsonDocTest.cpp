// Shared documents: factories, parse and file errors, path resolution and
// generated-id removal.
#include <corvconfigstore/Exceptions.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "core/Json.h"
#include "core/JsonDoc.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

using namespace CorvConfigStore;

namespace {

std::string Text(const JsonValue& value) { return JsonToString(value); }

int CodeOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const ConfigStoreException& e) {
    return e.GetErrorCode();
  }
  return 0;
}

}  // namespace

TEST(CreateDocumentTest, RootIsNullAndPathEmpty) {
  auto doc = CreateDocument();
  EXPECT_TRUE(doc->GetJsonValuePtr()->IsNull());
  EXPECT_TRUE(doc->GetPath().empty());
  doc->GetJsonValuePtr()->SetObject();
  doc->GetJsonValuePtr()->AddMember("a", 1, doc->GetAllocator());
  EXPECT_EQ(Text(*doc->GetJsonValuePtr()), R"({"a":1})");
}

TEST(CreateDocumentFromStringTest, ParsesOneValueWithSurroundingBlanks) {
  auto doc = CreateDocumentFromString(" \t\r\n{\"a\": [1, 2.5, \"x\"]}\n ");
  EXPECT_EQ(Text(*doc->GetJsonValuePtr()), R"({"a":[1,2.5,"x"]})");
  EXPECT_EQ(Text(*CreateDocumentFromString("42")->GetJsonValuePtr()), "42");
}

TEST(CreateDocumentFromStringTest, RejectsTwoValuesAndTrailingCharacters) {
  for (const char* text : {"{} {}", "{}x", "[1] ,", "", "   ", "{\"a\":}", "nul", "{\"a\":1"}) {
    try {
      CreateDocumentFromString(text);
      FAIL() << text;
    } catch (const ConfigStoreException& e) {
      EXPECT_EQ(e.GetErrorCode(), 1080) << text;
      EXPECT_EQ(std::string(e.what()).rfind("Invalid JSON text: ", 0), 0u) << e.what();
    }
  }
}

TEST(CreateDocumentFromStringTest, NestingLimit) {
  std::string ok(kMaxJsonDepth, '[');
  ok += std::string(kMaxJsonDepth, ']');
  EXPECT_NO_THROW(CreateDocumentFromString(ok));
  std::string deep(kMaxJsonDepth + 1, '[');
  deep += std::string(kMaxJsonDepth + 1, ']');
  try {
    CreateDocumentFromString(deep);
    FAIL();
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1080);
    EXPECT_NE(std::string(e.what()).find("nesting deeper than 256 levels"), std::string::npos);
  }
  // Far deeper text fails the same way instead of exhausting the stack.
  std::string hostile(1000000, '{');
  EXPECT_EQ(CodeOf([&] { CreateDocumentFromString(hostile); }), 1080);
  std::string mixed;
  for (int i = 0; i < 100000; ++i) mixed += "{\"a\":[";
  EXPECT_EQ(CodeOf([&] { CreateDocumentFromString(mixed); }), 1080);
}

// Text is checked eight bytes at a time up to its first byte that is not
// ASCII: a bad byte is found at every position, after an escape too, and
// named with its offset.
TEST(CreateDocumentFromStringTest, BadBytesAreFoundWhereverTheyStand) {
  for (size_t position = 0; position < 20; ++position) {
    for (const char* bad : {"\xff", "\xc3", "\xed\xa0\x80", "\x80"}) {
      std::string value = std::string(position, 'a') + bad + "bcdefghij";
      EXPECT_FALSE(IsUtf8(value.data(), value.size())) << position;
      std::string text = "{\"k\":\"" + value + "\"}";
      try {
        CreateDocumentFromString(text);
        ADD_FAILURE() << position;
      } catch (const ConfigStoreException& e) {
        EXPECT_EQ(e.GetErrorCode(), 1080);
        EXPECT_EQ(std::string(e.what()),
                  "Invalid JSON text: Invalid encoding in string. at offset " +
                      std::to_string(6 + position));
      }
      std::string key = "{\"" + value + "\":1}";
      EXPECT_EQ(CodeOf([&] { CreateDocumentFromString(key); }), 1080);
    }
    std::string good = std::string(position, 'a') + "caf\xc3\xa9\xf0\x9f\x98\x80";
    EXPECT_TRUE(IsUtf8(good.data(), good.size()));
    EXPECT_EQ(Text(*CreateDocumentFromString("[\"" + good + "\"]")->GetJsonValuePtr()),
              "[\"" + good + "\"]");
    EXPECT_EQ(CodeOf([&] { CreateDocumentFromString("[\"" + std::string(position, 'a') +
                                                    "\\u00e9\xff\"]"); }),
              1080);
  }
}

// A text of UTF-8 with no escape has its strings checked once, as a whole;
// an escape anywhere in it has each string checked, so that one decoded
// into bytes that are not UTF-8 is still refused.
TEST(CreateDocumentFromStringTest, AnEscapeMakingBadBytesIsRefusedAmongPlainStrings) {
  const std::string plain = "{\"caf\xc3\xa9\":\"\xf0\x9f\x98\x80\",\"n\":[\"a\",\"b\"]}";
  EXPECT_EQ(Text(*CreateDocumentFromString(plain)->GetJsonValuePtr()), plain);
  const std::string escaped = "{\"caf\xc3\xa9\":\"\xf0\x9f\x98\x80\",\"n\":[\"a\",\"\\udc00\"]}";
  try {
    CreateDocumentFromString(escaped);
    ADD_FAILURE() << "a lone low surrogate was accepted";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1080);
    EXPECT_EQ(std::string(e.what()),
              "Invalid JSON text: The surrogate pair in string is invalid. at offset 33");
  }
}

// Text is read in place from a scratch copy that the next parse on the
// thread overwrites: every string and name is the document's own, escapes
// decoded, and a text longer than the shared copy reads whole.
TEST(CreateDocumentFromStringTest, StringsAreTheDocumentsOwn) {
  auto first = CreateDocumentFromString(
      R"({"na\"me":"line\nbreak \u00e9 \ud83d\ude00 nul\u0000end","short":"abc"})");
  auto second = CreateDocumentFromString(
      R"({"xxxxxxxxxxxxxxxxxxxxxxxx":"yyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyy"})");
  const JsonValue& value = (*first->GetJsonValuePtr())["na\"me"];
  EXPECT_EQ(std::string(value.GetString(), value.GetStringLength()),
            std::string("line\nbreak \xc3\xa9 \xf0\x9f\x98\x80 nul\0end", 26));
  EXPECT_EQ(Text(*first->GetJsonValuePtr()),
            "{\"na\\\"me\":\"line\\nbreak \xc3\xa9 \xf0\x9f\x98\x80 nul\\u0000end\","
            "\"short\":\"abc\"}");
  EXPECT_EQ(Text(*second->GetJsonValuePtr()),
            R"({"xxxxxxxxxxxxxxxxxxxxxxxx":"yyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyyy"})");

  const std::string big(200000, 'x');
  auto large = CreateDocumentFromString("[\"" + big + "\", \"tail\"]");
  const JsonValue& list = *large->GetJsonValuePtr();
  ASSERT_EQ(list.Size(), 2u);
  EXPECT_EQ(std::string(list[0].GetString(), list[0].GetStringLength()), big);
  EXPECT_STREQ(list[1].GetString(), "tail");
  EXPECT_EQ(Text(*CreateDocumentFromString(R"({"after":"big"})")->GetJsonValuePtr()),
            R"({"after":"big"})");

  // A NUL byte ends the reader's text: what follows it is refused.
  EXPECT_EQ(CodeOf([] { CreateDocumentFromString(std::string("{}\0{}", 5)); }), 1080);
  EXPECT_EQ(CodeOf([] { CreateDocumentFromString(std::string("[\"a\0b\"]", 7)); }), 1080);
}

TEST(CreateDocumentFromStringTest, ArbitraryBytesYieldDocumentOrError) {
  std::string bytes;
  unsigned seed = 12345;
  for (int round = 0; round < 2000; ++round) {
    bytes.clear();
    size_t length = seed % 40;
    for (size_t i = 0; i < length; ++i) {
      seed = seed * 1103515245u + 12345u;
      const char alphabet[] = "{}[]\":,0123456789.eE-+tfnrulasx \\\0\xff";
      bytes += alphabet[(seed >> 16) % (sizeof alphabet)];
    }
    int code = CodeOf([&] { CreateDocumentFromString(bytes); });
    EXPECT_TRUE(code == 0 || code == 1080) << code;
  }
}

TEST(CreateDocumentFromFileTest, ReadsWholeFile) {
  CorvTest::TempDir dir;
  std::string path = dir.Write("a.json", "{\n  \"dns\": {\"servers\": [\"10.0.0.1\"]}\n}\n");
  auto doc = CreateDocumentFromFile(path);
  EXPECT_EQ(Text(*doc->GetJsonValuePtr()), R"({"dns":{"servers":["10.0.0.1"]}})");
}

TEST(CreateDocumentFromFileTest, MissingOrMalformedFileRaises1081NamingIt) {
  CorvTest::TempDir dir;
  std::string missing = dir.File("none.json");
  try {
    CreateDocumentFromFile(missing);
    FAIL();
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1081);
    EXPECT_EQ(std::string(e.what()), "Cannot read JSON file: " + missing);
  }
  std::string bad = dir.Write("bad.json", "{\"a\":1} trailing");
  EXPECT_EQ(CodeOf([&] { CreateDocumentFromFile(bad); }), 1081);
  EXPECT_EQ(CodeOf([&] { CreateDocumentFromFile(dir.Path()); }), 1081);
}

TEST(JsonDocPathTest, ResolvesMembersAndInstances) {
  auto doc = CreateDocumentFromString(
      R"({"nics":[{"name":"a","mtu":1},{"name":"b","mtu":2}],"dns":{"x":1}})");
  auto b = doc->Extend({"nics", "name", "b", 1});
  EXPECT_EQ(Text(*b->GetJsonValuePtr()), R"({"name":"b","mtu":2})");
  auto dns = doc->Extend({"dns", "", "", std::nullopt});
  EXPECT_EQ(Text(*dns->GetJsonValuePtr()), R"({"x":1})");
  EXPECT_EQ(&b->GetAllocator(), &doc->GetAllocator());
}

TEST(JsonDocPathTest, MissingMemberAndInstanceErrors) {
  CorvTest::LogCapture log(4);
  auto doc = CreateDocumentFromString(R"({"nics":[{"name":"a"}]})");
  auto missing = doc->Extend({"routes", "", "", std::nullopt});
  try {
    missing->GetJsonValuePtr();
    FAIL();
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 2000);
    EXPECT_STREQ(e.what(), "Subobject does not exists.");
  }
  EXPECT_TRUE(log.Has(0, "Cannot find subobject routes"));
  auto gone = doc->Extend({"nics", "name", "z", std::nullopt});
  try {
    gone->GetJsonValuePtr();
    FAIL();
  } catch (const ConfigStoreException& e) {
    EXPECT_STREQ(e.what(), "Subobject instance does not exists.");
  }
  EXPECT_TRUE(log.Has(0, "Cannot find subobject instance name=z"));
}

TEST(JsonDocPathTest, InstanceDeletedThroughParentFailsOnNextAccess) {
  auto doc = CreateDocumentFromString(R"({"nics":[{"name":"a"},{"name":"b"}]})");
  auto b = doc->Extend({"nics", "name", "b", 1});
  EXPECT_NO_THROW(b->GetJsonValuePtr());
  (*doc->GetJsonValuePtr())["nics"].Erase((*doc->GetJsonValuePtr())["nics"].Begin() + 1);
  try {
    b->GetJsonValuePtr();
    FAIL();
  } catch (const ConfigStoreException& e) {
    EXPECT_STREQ(e.what(), "Subobject instance does not exists.");
  }
}

TEST(JsonDocPathTest, ElementWithoutIdPropertyIsJsonError) {
  auto doc = CreateDocumentFromString(R"({"nics":[{"other":1}]})");
  auto a = doc->Extend({"nics", "name", "a", std::nullopt});
  try {
    a->GetJsonValuePtr();
    FAIL();
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1082);
    EXPECT_EQ(std::string(e.what()).rfind("JSON error:\"", 0), 0u) << e.what();
  }
  auto numeric = CreateDocumentFromString(R"({"nics":[{"name":5}]})")->Extend(
      {"nics", "name", "5", std::nullopt});
  EXPECT_EQ(CodeOf([&] { numeric->GetJsonValuePtr(); }), 1082);
}

// A handle on checked text parses it on first use, whichever use comes
// first, into a document of its own; the text is a copy.
TEST(DeferredJsonDocTest, ParsesOnFirstUse) {
  std::string text = R"({"nics":[{"name":"a","mtu":1}],"dns":{"x":1}})";
  auto value = std::make_shared<JsonDoc>(std::string_view(text));
  text.assign(text.size(), ' ');
  EXPECT_TRUE(value->IsDeferred());
  EXPECT_TRUE(value->GetPath().empty());
  EXPECT_TRUE(value->IsDeferred());
  EXPECT_EQ(Text(*value->GetJsonValuePtr()), R"({"nics":[{"name":"a","mtu":1}],"dns":{"x":1}})");
  EXPECT_FALSE(value->IsDeferred());

  const std::vector<std::function<void(const JsonDoc&)>> uses = {
      [](const JsonDoc& doc) { doc.GetAllocator(); },
      [](const JsonDoc& doc) {
        EXPECT_EQ(Text(*doc.Extend({"nics", "name", "a", 0})->GetJsonValuePtr()),
                  R"({"name":"a","mtu":1})");
      },
      [](const JsonDoc& doc) { EXPECT_TRUE(doc.GetDocument()->IsObject()); }};
  for (const std::function<void(const JsonDoc&)>& use : uses) {
    JsonDoc doc(R"({"nics":[{"name":"a","mtu":1}]})");
    use(doc);
    EXPECT_FALSE(doc.IsDeferred());
    EXPECT_EQ(Text(*doc.GetJsonValuePtr()), R"({"nics":[{"name":"a","mtu":1}]})");
  }
}

// Threads that use one deferred handle at once all see the one document one
// of them parsed.
TEST(DeferredJsonDocTest, ThreadsUsingItAtOnceShareOneParse) {
  for (int round = 0; round < 50; ++round) {
    JsonDoc doc(R"({"a":[1,2,3],"b":{"c":"d"}})");
    std::atomic<bool> go{false};
    std::vector<const JsonValue*> seen(4, nullptr);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < seen.size(); ++i) {
      threads.emplace_back([&, i] {
        while (!go.load()) std::this_thread::yield();
        seen[i] = doc.GetJsonValuePtr();
      });
    }
    go.store(true);
    for (std::thread& thread : threads) thread.join();
    for (const JsonValue* value : seen) {
      EXPECT_EQ(value, seen[0]);
      EXPECT_EQ(Text(*value), R"({"a":[1,2,3],"b":{"c":"d"}})");
    }
  }
}

// The deferred text can be read without parsing it, until it is parsed.
TEST(DeferredJsonDocTest, ItsTextIsReadUntilParsed) {
  JsonDoc doc(R"({"a":1})");
  std::string seen;
  EXPECT_TRUE(doc.WithDeferredText([&](std::string_view text) { seen = text; }));
  EXPECT_EQ(seen, R"({"a":1})");
  EXPECT_TRUE(doc.IsDeferred());
  doc.GetJsonValuePtr();
  EXPECT_FALSE(doc.WithDeferredText([&](std::string_view) { ADD_FAILURE(); }));
  auto parsed = CreateDocumentFromString("{}");
  EXPECT_FALSE(parsed->WithDeferredText([&](std::string_view) { ADD_FAILURE(); }));
}

// Readers of the text and a first use at once: the parse waits for the
// readers, and each sees the whole text or the parsed value.
TEST(DeferredJsonDocTest, ReadersOfItsTextAndItsParseDoNotMeet) {
  const std::string text = R"({"a":[1,2,3],"b":")" + std::string(1000, 'x') + R"("})";
  for (int round = 0; round < 50; ++round) {
    JsonDoc doc(text);
    std::atomic<bool> go{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&, i] {
        while (!go.load()) std::this_thread::yield();
        for (int n = 0; n < 20; ++n) {
          const bool read = doc.WithDeferredText([&](std::string_view seen) {
            if (seen != text) ++wrong;
          });
          if ((!read || i == 0) && Text(*doc.GetJsonValuePtr()) != text) ++wrong;
        }
      });
    }
    go.store(true);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_FALSE(doc.IsDeferred());
  }
}

TEST(ClearGeneratedInstanceIdTest, RemovesAtEveryDepthKeepingOrder) {
  auto doc = CreateDocumentFromString(R"({
    "a": 1, "cs_generated_id": "g0", "b": 2,
    "list": [
      {"x": 1, "cs_generated_id": "g1", "y": 2,
       "inner": [{"cs_generated_id": "g2", "p": 1, "q": 2}, [{"cs_generated_id": "g3", "z": 0}]]}
    ],
    "c": {"cs_generated_id": "g4", "d": 4, "e": 5}
  })");
  ClearGeneratedInstanceId(doc->GetJsonValuePtr());
  EXPECT_EQ(Text(*doc->GetJsonValuePtr()),
            R"({"a":1,"b":2,"list":[{"x":1,"y":2,"inner":[{"p":1,"q":2},[{"z":0}]]}],)"
            R"("c":{"d":4,"e":5}})");
}

TEST(ClearGeneratedInstanceIdTest, LeavesScalarsAlone) {
  auto doc = CreateDocumentFromString(R"("cs_generated_id")");
  ClearGeneratedInstanceId(doc->GetJsonValuePtr());
  EXPECT_EQ(Text(*doc->GetJsonValuePtr()), R"("cs_generated_id")");
}

TEST(JsonAssertionTest, MisuseBecomesCode1082WithExpression) {
  auto doc = CreateDocumentFromString("[1]");
  try {
    (*doc->GetJsonValuePtr())["member"];
    FAIL();
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1082);
    std::string message = e.what();
    EXPECT_EQ(message.rfind("JSON error:\"", 0), 0u);
    EXPECT_NE(message.find("rapidjson/document.h\":"), std::string::npos) << message;
    EXPECT_NE(message.find(": IsObject()"), std::string::npos) << message;
  }
}
