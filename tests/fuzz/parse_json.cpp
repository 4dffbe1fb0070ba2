// Fuzz target: JSON text through the parser every input of the library
// goes through (ParseJson, and CreateDocumentFromString above it), and
// through the check and the copy that read stored text without building
// it. Text that is accepted must write out as UTF-8 text that is accepted
// again; text that is refused must come with a reason (and code 1080 from
// the document helper).
#include <corvconfigstore/ErrorCodes.h>
#include <corvconfigstore/Exceptions.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "core/Json.h"
#include "fuzz/FuzzSupport.h"
#include "core/JsonDoc.h"

using namespace CorvConfigStore;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  CorvFuzz::QuietLog();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::shared_ptr<JsonDocument> document = NewJsonDocument(ParsedDocumentBytes(size));
  std::string reason;
  const bool accepted = ParseJson(text.data(), text.size(), *document, &reason);

  // Checking the text without building it agrees with the parser.
  JsonOutline outline;
  outline.member = "id";
  std::string checkReason;
  if (CheckJson(text.data(), text.size(), outline, &checkReason) != accepted ||
      checkReason != reason || outline.isObject != document->IsObject())
    CorvFuzz::Fail("CheckJson disagrees with ParseJson: " + checkReason + " / " + reason);
  // So does copying it, and the copy is what the parsed value writes.
  rapidjson::StringBuffer copy;
  JsonWriter copier(copy);
  std::string copyReason;
  if (CopyJsonWithoutGeneratedIds(text.data(), text.size(), outline, copier, &copyReason) !=
          accepted ||
      copyReason != reason)
    CorvFuzz::Fail("CopyJsonWithoutGeneratedIds disagrees with ParseJson: " + copyReason);
  if (accepted) {
    rapidjson::StringBuffer written;
    JsonWriter writer(written);
    WriteWithoutGeneratedIds(*document, writer);
    if (std::string(copy.GetString(), copy.GetSize()) !=
        std::string(written.GetString(), written.GetSize()))
      CorvFuzz::Fail("the copy differs from the parsed value written");
  }

  // The document helper agrees with the parser.
  try {
    CreateDocumentFromString(text);
    if (!accepted) CorvFuzz::Fail("CreateDocumentFromString accepted refused text");
  } catch (const ConfigStoreException& e) {
    if (accepted) CorvFuzz::Fail(std::string("CreateDocumentFromString refused: ") + e.what());
    if (e.GetErrorCode() != CS_ERR_JSON_PARSE) CorvFuzz::Fail("refused with another code");
  }
  if (!accepted) {
    if (reason.empty() || !document->IsNull()) CorvFuzz::Fail("refusal without reason");
    return 0;
  }

  const std::string written = JsonToString(*document);
  if (!CorvFuzz::IsUtf8(written)) CorvFuzz::Fail("written text is not UTF-8");
  JsonDocument again;
  if (!ParseJson(written.data(), written.size(), again, &reason))
    CorvFuzz::Fail("written text refused: " + reason);
  // The text written need not stay the same when read and written again:
  // numbers are read to within a unit in the last place, so a double may
  // change by one (1e-305 is written back as 1.0000000000000001e-305).
  if (!CorvFuzz::IsUtf8(JsonToString(again))) CorvFuzz::Fail("text written again is not UTF-8");
  return 0;
}
