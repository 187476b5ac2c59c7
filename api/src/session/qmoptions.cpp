// The option table mechanics, the parsed command line, paths and the configuration file.
#include "qmoptions.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <string>

#include "qmsession.h"
#include "qmstream.h"

// ---------------------------------------------------------------- the parsed command line

namespace {
bool isKeyToken(const qmString& t) { return t.length() >= 2 && (t[0] == '-' || t[0] == '/'); }
}  // namespace

void qmCommandList::pair(const qmList<qmString>& tokens) {
    m_keys.clear();
    m_unknownLong = qmString();
    for (auto it = tokens.begin(); it != tokens.end(); ++it) {
        if (!isKeyToken(*it)) continue;
        // The GNU requests users type first: --help and --version do what -h and -v do; any other
        // "--" word is refused by the session, so that it never starts a run of every test.
        if (it->length() > 2 && (*it)[0] == '-' && (*it)[1] == '-') {
            if (*it == qmString("--help")) {
                m_keys.append(qmCommandKey{'h', qmString()});
            } else if (*it == qmString("--version")) {
                m_keys.append(qmCommandKey{'v', qmString()});
            } else if (m_unknownLong.empty()) {
                m_unknownLong = *it;
            }
            continue;
        }
        qmCommandKey k{(*it)[1], it->substr(2)};
        auto next = std::next(it);
        if (next != tokens.end() && !isKeyToken(*next)) {
            k.arg += *next;
            it = next;
        }
        m_keys.append(k);
    }
}

void qmCommandList::setArgs(int argc, char** argv) {
    qmList<qmString> tokens;
    for (int i = 1; i < argc; ++i) tokens.append(argv[i]);
    pair(tokens);
}

void qmCommandList::setArgs(const char* text) { pair(qmString(text).parse(" ;\t\r\n")); }

bool qmCommandList::isKey(char key) const {
    for (const auto& k : m_keys)
        if (k.key == key) return true;
    return false;
}

bool qmCommandList::getArg(char key, qmString& arg) const {
    bool found = false;
    for (const auto& k : m_keys)
        if (k.key == key) {
            arg = k.arg;
            found = true;
        }
    return found;
}

// ---------------------------------------------------------------- options of the session

void qmSession::initOption(char key, const qmString& help, std::function<qmString(const qmString&)> info,
                           std::function<void(const qmString&, qmSession*)> apply, const qmString& description,
                           bool hidden, int ignoredOnExit) {
    auto* o = new qmOption;
    o->key = key;
    o->hidden = hidden;
    o->help = help;
    o->info = std::move(info);
    o->apply = std::move(apply);
    o->description = description;
    o->ignoredOnExit = ignoredOnExit;
    m_options.append(o);
}

qmOption* qmSession::getOption(char key) {
    for (qmOption* o : m_options)
        if (o->key == key) return o;
    return nullptr;
}

qmString qmSession::getExitInfo() {
    switch (m_exitLevel) {
        case 2: return "ignored because of -h option";
        case 1: return "ignored because of -e option";
        case 3: return "ignored because of -v option";
        default: return "ignored";
    }
}

void qmSession::applyOption(char key, const qmString& arg) {
    m_echo << "-" << key << arg.printable() << ": ";
    qmOption* o = getOption(key);
    if (!o) {
        m_echo += "ignored: incorrect option key\n";
        return;
    }
    const bool ignored = o->ignoredOnExit == -1 ? m_exitLevel == 2
                                                 : o->ignoredOnExit > 0 && isExit(o->ignoredOnExit);
    m_echo += (ignored ? getExitInfo() : o->info(arg).printable()) + "\n";
    o->apply(arg, this);
}

// ---------------------------------------------------------------- paths

qmString qmSession::exeDir() {
    char buf[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
    if (n > 0) {
        buf[n] = '\0';
        return qmString(buf).fileDir();
    }
    qmString dir = m_exePath.fileDir();
    return dir.empty() ? qmString("./") : dir;
}

qmString qmSession::exeTitle() {
    qmString t = m_exePath.fileTitle();
    return t.empty() ? qmString("quillmark") : t;
}

qmString qmSession::genDirName(const qmString& dir) {
    if (dir.empty()) return exeDir();
    qmString d = dir;
    if (!d.endsWith("/") && !d.endsWith("\\")) d += "/";
    return d.isAbsolutePath() ? d : exeDir() + d;
}

qmString qmSession::genPathName(const qmString& dir, const qmString& name, const qmString& ext) {
    if (name.isAbsolutePath()) return name;
    qmString n = name.empty() ? m_defName + ext : name;
    if (!name.empty() && n.find('.') < 0) n += ext;
    return dir + n;
}

// ---------------------------------------------------------------- configuration file

namespace {
void cfgWarning(const qmString& path, const qmString& why) {
    g_ostrm << MSG_ERR << "-- Warning: " << path << " " << why << "; it is ignored\n" << MSG_RESTORE;
}
}  // namespace

// Opened without blocking (a FIFO named like the configuration file must not stop the program), and
// used only when it is a readable regular file whose first line is text.
bool qmSession::readCfgFile(qmString& line, qmString& fileName) {
    const qmString name = exeTitle() + ".cfg";
    for (const qmString& path : {name, exeDir() + name}) {
        const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0) {
            if (errno != ENOENT) cfgWarning(path, qmString("can't be read: ") + std::strerror(errno));
            continue;
        }
        struct stat st {};
        if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
            ::close(fd);
            cfgWarning(path, "is not a regular file");
            continue;
        }
        FILE* f = fdopen(fd, "r");
        if (!f) {
            ::close(fd);
            continue;
        }
        // The command line is the first 1023 characters of the first line; say so when more was there.
        std::string text;
        int c = 0;
        bool binary = false;
        while (text.size() < 1023 && (c = std::fgetc(f)) != EOF && c != '\n') {
            const auto byte = static_cast<unsigned char>(c);
            if (byte == 0 || (byte < 0x20 && byte != '\t' && byte != '\r') || byte == 0x7f) binary = true;
            text += static_cast<char>(c);
        }
        const bool readError = std::ferror(f) != 0;
        const int error = errno;
        if (text.size() == 1023 && !binary && !readError) {
            const int next = std::fgetc(f);
            if (next != EOF && next != '\n')
                g_ostrm << MSG_ERR << "-- Warning: the first line of " << path
                        << " is longer than 1023 characters; the rest of it is ignored\n" << MSG_RESTORE;
        }
        std::fclose(f);
        if (readError) {
            cfgWarning(path, qmString("can't be read: ") + std::strerror(error));
            continue;
        }
        if (binary) {
            cfgWarning(path, "is not a text file (control characters in its first line)");
            continue;
        }
        line = qmString(text).trimmed();
        fileName = path;
        return true;
    }
    return false;
}
