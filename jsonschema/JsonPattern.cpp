// The process-wide cache of compiled patterns and the bounded search.
//
// Patterns are compiled in UTF mode with ECMAScript-like choices ("$" only
// at the very end, "\uhhhh" escapes); a subject holding invalid UTF-8 is
// searched all the same, no match spanning the invalid bytes. Every search
// runs under limits on backtracking steps, nesting depth and heap use: a
// catastrophic pattern such as "(a+)+$" on a long non-matching subject
// stops with kFailed instead of running for hours.
//
// Patterns are also compiled to machine code where PCRE2 can (its JIT), since
// a JIT search of a typical pattern costs about a third of an interpreted
// one. The JIT bounds a search differently (its own stack, no heap or depth
// limit), so a JIT search that stops on any limit is run again by the
// interpreter, and every failure reported is the interpreter's.
#include "jsonschema/JsonPattern.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace JsonPattern {

// The compiled code, or (code null) the compiler's reason.
struct Compiled {
  pcre2_code* code = nullptr;
  bool jit = false;  // code holds machine code as well
  std::string error;
  ~Compiled() { pcre2_code_free(code); }
};

namespace {

constexpr uint32_t kCompileOptions =
    PCRE2_UTF | PCRE2_MATCH_INVALID_UTF | PCRE2_DOLLAR_ENDONLY | PCRE2_ALT_BSUX;
constexpr uint32_t kMatchLimit = 1000000;  // backtracking steps per search
constexpr uint32_t kDepthLimit = 10000;    // nested backtracking points
constexpr uint32_t kHeapLimitKiB = 20000;  // backtracking memory per search
// Schemas name few distinct patterns; the cache stops growing at this size
// and later patterns are compiled anew by each Compile.
constexpr size_t kMaxCachedPatterns = 4096;
// A thread keeps its match block while no search needed more backtracking
// memory than this (PCRE2 starts with 20 KiB).
constexpr size_t kKeptMemoryBytes = 64 * 1024;

CompiledPattern CompilePattern(const std::string& pattern) {
  auto compiled = std::make_shared<Compiled>();
  int errorCode = 0;
  PCRE2_SIZE errorOffset = 0;
  compiled->code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(),
                                 kCompileOptions, &errorCode, &errorOffset, nullptr);
  if (compiled->code == nullptr) {
    PCRE2_UCHAR message[256];
    if (pcre2_get_error_message(errorCode, message, sizeof(message)) < 0) message[0] = 0;
    compiled->error =
        reinterpret_cast<char*>(message) + std::string(" at offset ") + std::to_string(errorOffset);
    return compiled;
  }
  // A pattern the JIT cannot take (or a build without it) is interpreted.
  compiled->jit = pcre2_jit_compile(compiled->code, PCRE2_JIT_COMPLETE) == 0;
  return compiled;
}

CompiledPattern GetCompiled(const std::string& pattern) {
  static std::mutex mutex;
  static std::unordered_map<std::string, CompiledPattern> cache;
  {
    std::lock_guard<std::mutex> lock(mutex);
    auto found = cache.find(pattern);
    if (found != cache.end()) return found->second;
  }
  // Compiled outside the lock; a pattern compiled twice by racing threads
  // keeps the first entry.
  auto compiled = CompilePattern(pattern);
  std::lock_guard<std::mutex> lock(mutex);
  if (cache.size() >= kMaxCachedPatterns) return compiled;
  return cache.emplace(pattern, compiled).first->second;
}

// The limits, shared read-only by every search.
pcre2_match_context* LimitedContext() {
  static pcre2_match_context* context = [] {
    pcre2_match_context* made = pcre2_match_context_create(nullptr);
    if (made != nullptr) {
      pcre2_set_match_limit(made, kMatchLimit);
      pcre2_set_depth_limit(made, kDepthLimit);
      pcre2_set_heap_limit(made, kHeapLimitKiB);
    }
    return made;
  }();
  return context;
}

// The match block of one thread, kept between its searches: making a block
// and its backtracking memory anew cost more than a typical search. A search
// that needed more than kKeptMemoryBytes of backtracking memory frees the
// block, so that one deep search leaves nothing large behind.
class ThreadMatchData {
 public:
  ThreadMatchData() : context_(pcre2_general_context_create(Allocate, Release, this)) {}
  ~ThreadMatchData() {
    pcre2_match_data_free(data_);
    pcre2_general_context_free(context_);
  }
  ThreadMatchData(const ThreadMatchData&) = delete;
  ThreadMatchData& operator=(const ThreadMatchData&) = delete;

  // The block for a search, or null when out of memory. Whether the search
  // matched is all a search asks, so the block holds one match position.
  pcre2_match_data* Get() {
    if (data_ == nullptr && context_ != nullptr) data_ = pcre2_match_data_create(1, context_);
    return data_;
  }

  // After a search: frees the block if the search made it large.
  void Trim() {
    if (largest_ <= kKeptMemoryBytes) return;
    pcre2_match_data_free(data_);
    data_ = nullptr;
    largest_ = 0;
  }

 private:
  // PCRE2 allocates the block and its backtracking memory through these.
  static void* Allocate(size_t size, void* self) {
    auto* owner = static_cast<ThreadMatchData*>(self);
    owner->largest_ = std::max(owner->largest_, size);
    return std::malloc(size);
  }
  static void Release(void* block, void*) { std::free(block); }

  size_t largest_ = 0;  // the largest allocation since the block was made
  pcre2_general_context* context_;
  pcre2_match_data* data_ = nullptr;
};

}  // namespace

CompiledPattern Compile(const char* pattern, size_t patternLength) {
  return GetCompiled(std::string(pattern, patternLength));
}

Outcome Search(const CompiledPattern& compiled, const char* subject, size_t subjectLength,
               std::string* reason) {
  if (compiled->code == nullptr) {
    *reason = compiled->error;
    return Outcome::kInvalid;
  }
  thread_local ThreadMatchData matchData;
  pcre2_match_context* context = LimitedContext();
  pcre2_match_data* data = matchData.Get();
  if (context == nullptr || data == nullptr) {
    *reason = "out of memory while matching";
    return Outcome::kFailed;
  }
  auto match = [&](uint32_t options) {
    return pcre2_match(compiled->code, reinterpret_cast<PCRE2_SPTR>(subject), subjectLength, 0,
                       options, data, context);
  };
  int rc = match(0);
  if (compiled->jit && rc < 0 && rc != PCRE2_ERROR_NOMATCH) rc = match(PCRE2_NO_JIT);
  matchData.Trim();
  if (rc >= 0) return Outcome::kMatch;
  if (rc == PCRE2_ERROR_NOMATCH) return Outcome::kNoMatch;
  switch (rc) {
    case PCRE2_ERROR_MATCHLIMIT:
      *reason = "match limit exceeded";
      break;
    case PCRE2_ERROR_DEPTHLIMIT:
      *reason = "depth limit exceeded";
      break;
    case PCRE2_ERROR_HEAPLIMIT:
      *reason = "heap limit exceeded";
      break;
    default: {
      PCRE2_UCHAR message[256];
      if (pcre2_get_error_message(rc, message, sizeof(message)) < 0) message[0] = 0;
      *reason = reinterpret_cast<char*>(message);
    }
  }
  return Outcome::kFailed;
}

Outcome Search(const char* pattern, size_t patternLength, const char* subject, size_t subjectLength,
               std::string* reason) {
  return Search(Compile(pattern, patternLength), subject, subjectLength, reason);
}

}  // namespace JsonPattern
