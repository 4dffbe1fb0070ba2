// Checking an import document without writing it.
#include <corvconfigstore/ImportCheck.h>

#include "document/ImportExportInternal.h"
#include "schema/SchemaStore.h"

namespace CorvConfigStore {

bool ValidateImport(const std::string& docString, std::vector<ErrorInfo>& errors) {
  CsoIdObjectMap objects;
  return GetCsoidObjMapFromDocument(docString, objects, CorvSchemaStore::SchemaStore::GetCache(),
                                    errors);
}

}  // namespace CorvConfigStore
