// What was read last, up to so many bytes.
#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace globe {

// Usable from any thread. What somebody else still holds goes out of the count when it goes out of the cache.
template <typename Key, typename Value, typename Hash = std::hash<Key>>
class LruCache {
public:
    using Pointer = std::shared_ptr<const Value>;

    explicit LruCache(std::size_t limit_bytes) : m_limit(limit_bytes) {}

    // Null if it is not there. What is asked for goes last.
    Pointer get(const Key& key) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_index.find(key);
        if (found == m_index.end()) {
            return nullptr;
        }
        m_items.splice(m_items.begin(), m_items, found->second);
        return found->second->value;
    }

    // In place of what was there. One that is larger than the limit alone is not kept.
    void put(const Key& key, Pointer value, std::size_t bytes) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        remove(key);
        if (bytes > m_limit) {
            return;
        }
        m_items.push_front({key, std::move(value), bytes});
        m_index[key] = m_items.begin();
        m_bytes += bytes;
        shrink();
    }

    void erase(const Key& key) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        remove(key);
    }

    void setLimit(std::size_t bytes) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_limit = bytes;
        shrink();
    }

    std::size_t bytes() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_bytes;
    }
    std::size_t size() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_items.size();
    }

private:
    struct Item {
        Key key;
        Pointer value;
        std::size_t bytes;
    };

    void remove(const Key& key) {
        const auto found = m_index.find(key);
        if (found != m_index.end()) {
            m_bytes -= found->second->bytes;
            m_items.erase(found->second);
            m_index.erase(found);
        }
    }

    void shrink() {
        while (m_bytes > m_limit) {
            const Key last = m_items.back().key;
            remove(last);
        }
    }

    mutable std::mutex m_mutex;
    std::size_t m_limit;
    std::size_t m_bytes = 0;
    std::list<Item> m_items;  // newest first
    std::unordered_map<Key, typename std::list<Item>::iterator, Hash> m_index;
};

}  // namespace globe
