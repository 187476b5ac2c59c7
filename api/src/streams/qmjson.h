// JSON results (-j): one document per run with the run's metadata and one record per result line.
// Records are built after each measurement, outside the timed spans, and kept in memory; the
// document is written whole at the end of the run, so a reader never sees half of it.
#pragma once
#include <string>
#include <utility>
#include <vector>

#include "qmstring.h"

namespace qmJson {
// A JSON string literal with quotes; control characters escaped, invalid UTF-8 bytes as U+FFFD.
std::string quote(const std::string& text);
// A number, or null when it is not finite or is negative where no figure exists (the caller says).
std::string number(double value);
// {"k": v, ...} from pairs whose values are JSON texts already, in the order given.
std::string object(const std::vector<std::pair<std::string, std::string>>& members);
// [v, ...] from JSON texts.
std::string array(const std::vector<std::string>& items);
std::string strings(const std::vector<std::string>& items);
}  // namespace qmJson

class qmJsonResults {
public:
    // A file to write at the end; opened (and emptied) now so that a bad path is known before the run.
    bool addFile(const qmString& path);
    bool active() const { return !m_paths.empty(); }
    void setCommandLine(int argc, char** argv);
    const std::vector<std::string>& commandLine() const { return m_args; }
    // A metadata member, its value a JSON text; a later set of the same key replaces it.
    void setMeta(const std::string& key, const std::string& json);
    void addRecord(std::string json) { m_records.push_back(std::move(json)); }
    size_t records() const { return m_records.size(); }
    // The document: metadata, then the records one per line.
    std::string document() const;
    // Writes every file; false when one could not be written.
    bool write() const;
    // Forgets files, metadata and records (a new session).
    void clear();

private:
    std::vector<qmString> m_paths;
    std::vector<std::string> m_args;
    std::vector<std::pair<std::string, std::string>> m_meta;
    std::vector<std::string> m_records;
};

extern qmJsonResults g_json;

// Format name and version every document carries; readers check them.
constexpr const char* QM_JSON_FORMAT = "quillmark-results";
constexpr int QM_JSON_VERSION = 1;
