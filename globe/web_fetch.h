// What lies behind a web address, fetched whole.
#pragma once

#include <string>

namespace globe {

// http or https.
bool isWebAddress(const std::string& url);

enum class FetchResult {
    kRead,
    kNothing,  // the server answers that it has nothing there
    kFailed    // no answer, or another one; the reason is GDAL's last error on the thread
};

// The requests of one thread, over a connection that stays open in between. How long one may take stands in
// initialize.cpp.
class WebFetch {
public:
    WebFetch();
    ~WebFetch();
    WebFetch(const WebFetch&) = delete;
    WebFetch& operator=(const WebFetch&) = delete;

    // `bytes` is empty unless something was read.
    FetchResult get(const std::string& url, std::string* bytes);

private:
    std::string m_session;
    bool m_used = false;
};

}  // namespace globe
