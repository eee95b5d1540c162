#include "globe/web_fetch.h"

#include <cpl_error.h>
#include <cpl_http.h>

#include <atomic>
#include <cstdlib>
#include <memory>

namespace globe {
namespace {

struct Destroy {
    void operator()(CPLHTTPResult* result) const { CPLHTTPDestroyResult(result); }
};
using Result = std::unique_ptr<CPLHTTPResult, Destroy>;

Result fetch(const std::string& url, const std::string& option) {
    const char* options[] = {option.c_str(), nullptr};
    return Result(CPLHTTPFetch(url.c_str(), options));
}

// The result has no field for it, but its message has it. 0 for none.
int httpErrorOf(const CPLHTTPResult& result) {
    const std::string message = result.pszErrBuf != nullptr ? result.pszErrBuf : "";
    const std::string mark = "HTTP error code : ";
    const auto at = message.find(mark);
    return at == std::string::npos ? 0 : std::atoi(message.c_str() + at + mark.size());
}

// 400 is how some refuse the number of a tile that they cannot have. That one may not look (401, 403) is no
// such answer: it would be a hole without a word.
bool meansNothingThere(int code) { return code == 400 || code == 404 || code == 410; }

}  // namespace

bool isWebAddress(const std::string& url) {
    return url.rfind("http://", 0) == 0 || url.rfind("https://", 0) == 0;
}

WebFetch::WebFetch() {
    static std::atomic<int> count{0};
    m_session = "globe-" + std::to_string(++count);
}

WebFetch::~WebFetch() {
    if (m_used) {
        fetch("", "CLOSE_PERSISTENT=" + m_session);
    }
}

FetchResult WebFetch::get(const std::string& url, std::string* bytes) {
    bytes->clear();
    m_used = true;
    const Result result = fetch(url, "PERSISTENT=" + m_session);
    if (!result) {
        CPLError(CE_Failure, CPLE_AppDefined, "this system fetches nothing from the web");
        return FetchResult::kFailed;
    }
    const int code = httpErrorOf(*result);
    if (meansNothingThere(code)) {
        CPLErrorReset();
        return FetchResult::kNothing;
    }
    if (result->nStatus != 0 || result->pszErrBuf != nullptr) {
        return FetchResult::kFailed;
    }
    if (result->nDataLen > 0 && result->pabyData != nullptr) {
        bytes->assign(reinterpret_cast<const char*>(result->pabyData),
                      static_cast<std::size_t>(result->nDataLen));
    }
    return bytes->empty() ? FetchResult::kNothing : FetchResult::kRead;
}

}  // namespace globe
