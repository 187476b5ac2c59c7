#include "qmjson.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>

#include "qmstream.h"

qmJsonResults g_json;

namespace qmJson {

std::string quote(const std::string& text) {
    std::string out = "\"";
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    const size_t n = text.size();
    for (size_t i = 0; i < n;) {
        const unsigned char c = s[i];
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
            ++i;
        } else if (c < 0x20) {
            char buf[8];
            const char* named = c == '\n' ? "\\n" : c == '\t' ? "\\t" : c == '\r' ? "\\r" : nullptr;
            if (!named) std::snprintf(buf, sizeof buf, "\\u%04x", c);
            out += named ? named : buf;
            ++i;
        } else if (c < 0x80) {
            out += static_cast<char>(c);
            ++i;
        } else {
            // A well-formed UTF-8 sequence is kept; anything else becomes the replacement character.
            const int len = c >= 0xF0 && c <= 0xF4 ? 4 : c >= 0xE0 && c <= 0xEF ? 3 : c >= 0xC2 && c <= 0xDF ? 2 : 0;
            bool ok = len > 0 && i + len <= n;
            for (int k = 1; ok && k < len; ++k) ok = (s[i + k] & 0xC0) == 0x80;
            if (ok) {
                out.append(text, i, len);
                i += len;
            } else {
                out += "\xEF\xBF\xBD";
                ++i;
            }
        }
    }
    return out + "\"";
}

std::string number(double value) {
    if (!std::isfinite(value)) return "null";
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.17g", value);
    return buf;
}

std::string object(const std::vector<std::pair<std::string, std::string>>& members) {
    std::string out = "{";
    for (size_t i = 0; i < members.size(); ++i) {
        if (i) out += ", ";
        out += quote(members[i].first) + ": " + members[i].second;
    }
    return out + "}";
}

std::string array(const std::vector<std::string>& items) {
    std::string out = "[";
    for (size_t i = 0; i < items.size(); ++i) out += (i ? ", " : "") + items[i];
    return out + "]";
}

std::string strings(const std::vector<std::string>& items) {
    std::vector<std::string> quoted;
    for (const std::string& s : items) quoted.push_back(quote(s));
    return array(quoted);
}

}  // namespace qmJson

bool qmJsonResults::addFile(const qmString& path) {
    // Probed by appending, so that a file the run never gets to write (-h, -e) is left as it was.
    struct stat st {};
    const bool existed = ::stat(path.c_str(), &st) == 0;
    {
        o_stream probe(path, true, true);
        if (!probe.isOpen()) return false;
    }
    if (!existed) ::unlink(path.c_str());
    for (const qmString& p : m_paths)
        if (p == path) return true;
    m_paths.push_back(path);
    return true;
}

void qmJsonResults::setCommandLine(int argc, char** argv) {
    m_args.assign(argv, argv + argc);
}

void qmJsonResults::setMeta(const std::string& key, const std::string& json) {
    for (auto& m : m_meta)
        if (m.first == key) {
            m.second = json;
            return;
        }
    m_meta.emplace_back(key, json);
}

std::string qmJsonResults::document() const {
    std::string out = "{\"format\": " + qmJson::quote(QM_JSON_FORMAT) + ", \"version\": " +
                      std::to_string(QM_JSON_VERSION) + ",\n\"metadata\": {\n";
    for (size_t i = 0; i < m_meta.size(); ++i)
        out += "  " + qmJson::quote(m_meta[i].first) + ": " + m_meta[i].second + (i + 1 < m_meta.size() ? ",\n" : "\n");
    out += "},\n\"records\": [\n";
    for (size_t i = 0; i < m_records.size(); ++i) out += m_records[i] + (i + 1 < m_records.size() ? ",\n" : "\n");
    return out + "]}\n";
}

bool qmJsonResults::write() const {
    const std::string text = document();
    bool ok = true;
    for (const qmString& p : m_paths) ok = qmWriteWholeFile(p, text) == qmWholeWrite::Written && ok;
    return ok;
}

void qmJsonResults::clear() {
    m_paths.clear();
    m_args.clear();
    m_meta.clear();
    m_records.clear();
}
