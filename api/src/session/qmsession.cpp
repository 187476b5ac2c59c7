// The order of one run, the library binding and the quick outputs (version, help, enumeration).
#include "qmsession.h"

#include <sys/stat.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <utility>
#include <vector>

#include "qmcpuid.h"
#include "qmexception.h"
#include "qminfotest.h"
#include "qmjson.h"
#include "qmrunmeta.h"
#include "qmistream.h"
#include "qmmemory.h"
#include "qmreport.h"
#include "qmsignal.h"
#include "qmtest.h"
#include "qmtestlist.h"
#include "qmtool.h"
#include "qmzkrenv.h"

// ---------------------------------------------------------------- process-wide registration state

qmSession* pSession = nullptr;
void (*zkrEnvironment)() = nullptr;
qmList<const ZkrLibraryVersion* (*)()>* zkrVersionList = nullptr;
void (*s_parmFunc)() = nullptr;
void (*initTimingMethod)(qmTool&) = nullptr;
bool qKeys = false;
bool s_version = false;
int s_hintArg = 0;
bool s_hintHide = false;
int s_cpuType = -1;
int s_numThreads = 0;
const char* const QM_version = "2.0";
const char* const QM_buildDate = __DATE__;

namespace {
qmString* s_cmdLine = nullptr;  // compiled-in command line
}

bool qmRegSession(qmSession* session) {
    pSession = session;
    return true;
}

bool qmRegZkrEnvironment(void (*environment)()) {
    zkrEnvironment = environment;
    return true;
}

bool qmRegZkrVersion(const ZkrLibraryVersion* (*getter)()) {
    // Every module that binds the library registers its getters: keep each once.
    if (!zkrVersionList) zkrVersionList = new qmList<const ZkrLibraryVersion* (*)()>;
    if (!zkrVersionList->contains(getter)) zkrVersionList->append(getter);
    return true;
}

bool qmRegParmFunc(void (*hook)()) {
    s_parmFunc = hook;
    return true;
}

bool qmRegQKeys() {
    qKeys = true;
    return true;
}

bool qmRegCmdLine(const qmString& line) {
    if (!s_cmdLine) s_cmdLine = new qmString;
    *s_cmdLine = line;
    return true;
}

qmString qmSession::m_exePath;
qmString qmSession::m_inDir;
qmString qmSession::m_outDir;
qmString qmSession::m_defName;
int qmSession::m_exitLevel = 0;
int qmSession::m_nameMode = 0;
bool qmSession::m_nameExit = false;

qmSession::~qmSession() {
    for (qmOption* o : m_options) delete o;
}

// ---------------------------------------------------------------- the library binding

namespace {
const char* fallbackStatusString(ZkrStatus status) {
    return status < 0 ? "Error" : status == 0 ? "OK" : "Warning";
}
ZkrStatus notBound() { return static_cast<ZkrStatus>(QM_ZKR_NOT_BOUND); }
ZkrStatus notBoundCpu(ZkrCpuType) { return static_cast<ZkrStatus>(QM_ZKR_NOT_BOUND); }
ZkrStatus notBoundThreads(int) { return static_cast<ZkrStatus>(QM_ZKR_NOT_BOUND); }
}  // namespace

void qmSetZkrFallbacks() {
    if (!g_zkr.getCpuType) g_zkr.getCpuType = &qmOwnCpuType;
    if (!g_zkr.getNumCoresOnDie) g_zkr.getNumCoresOnDie = &qmOwnNumCoresOnDie;
    if (!g_zkr.getMaxCacheSizeB) g_zkr.getMaxCacheSizeB = &qmOwnMaxCacheSizeB;
    if (!g_zkr.getStatusString) g_zkr.getStatusString = &fallbackStatusString;
    if (!g_zkr.init) g_zkr.init = &notBound;
    if (!g_zkr.initCpu) g_zkr.initCpu = &notBoundCpu;
    if (!g_zkr.setNumThreads) g_zkr.setNumThreads = &notBoundThreads;
}

void qmSession::setZkrEnvironment() {
    if (zkrEnvironment) {
        zkrEnvironment();
        g_ostrm << "\nZKR Core library functions have been integrated into QM\n";
    }
    qmSetZkrFallbacks();
}

void qmSession::printStatus(int status) {
    g_ostrm << (status < 0 ? "--ZKR ERROR. " : "--ZKR WARNING. ") << "status = " << status << ": "
            << g_zkr.getStatusString(static_cast<ZkrStatus>(status)) << "\n";
}

void qmSession::initStaticCpu() {
    if (s_cpuType == -1) {
        g_zkr.init();
        return;
    }
    g_ostrm.setMsgLevel(MSG_ERR);
    g_ostrm << "\n--calling zkrInitCpu( zkrCpu" << qmCpuType::cpuLabel(s_cpuType) << "=" << s_cpuType << " )\n";
    const int status = g_zkr.initCpu(static_cast<ZkrCpuType>(s_cpuType));
    if (status == 0) {
        g_ostrm << "--status = zkrStsNoErr\n";
    } else {
        printStatus(status);
        if (status < 0) {
            g_ostrm << "--calling zkrInit()\n";
            const int again = g_zkr.init();
            if (again < 0) printStatus(again);
        }
    }
    g_ostrm.restoreMsgLevel();
}

void qmSession::setNumThreads() {
    if (s_numThreads < 1) return;
    g_ostrm.setMsgLevel(MSG_ERR);
    g_ostrm << "\n--calling zkrSetNumThreads( " << s_numThreads << " )\n";
    const int status = g_zkr.setNumThreads(s_numThreads);
    if (status != 0) printStatus(status);
    g_ostrm.restoreMsgLevel();
}

qmList<qmString> qmZkrVersionTexts() {
    qmList<qmString> texts;
    if (!zkrVersionList) return texts;
    for (auto getter : *zkrVersionList)
        if (const ZkrLibraryVersion* v = getter()) texts.append(qmString(v->Name) + ", " + v->Version + ", " + v->BuildDate);
    return texts;
}

void qmSession::setZkrLibInfo() {
    if (!zkrVersionList) return;
    for (const qmString& text : qmZkrVersionTexts()) qmRegLibInfo(text);
    g_ostrm << "ZKR libraries information has been set into QM\n";
}

// ---------------------------------------------------------------- the run

bool qmSession::initSession() {
    m_conditions.clear();
    m_askMode = 0;
    m_batMode = false;
    m_levelMode = ERR;
    m_quickMode = false;
    m_enumMode = 100;
    m_iniName = qmString();
    m_iniWrite = false;
    registerKeys();
    return true;
}


int qmSession::run(int argc, char** argv) {
    const qmStopScope stopOnInterrupt;  // SIGINT/SIGTERM end the run in order; a second one at once
    g_ostrm.setMsgLevel(MSG_PERF);
    if (g_ostrm.numOutputs() == 0) g_ostrm.addTerminal();
    setZkrEnvironment();
    initSession();
    qmRegTest(qmNewKavroCpuTest());  // the built-in information test, filtered and sorted like any
    g_json.clear();
    g_json.setCommandLine(argc, argv);
    pTestList->m_startTime = std::time(nullptr);

    int result = 0;
    bool headerWritten = false;
    if (parseCommandLine(argc, argv) && startSession() && !quickOutput()) {
        if (zkrEnvironment) {
            initStaticCpu();
            setNumThreads();
            setZkrEnvironment();
        }
        setZkrLibInfo();
        if (!m_quickMode) {
            g_ostrm << "Sorting functions...";
            pTestList->sortFunc();
            g_ostrm << "\n";
        }
        headerWritten = true;
        outputHeader();
        qmJsonRunStart(qmCheckEnvironment());
        if (s_parmFunc) s_parmFunc();
        pTestList->selectCommonParms(m_conditions, m_commonParms);
        g_istrm.setIniSection(QM_COMMON_SECTION);
        warnAboutSelection();
        if (readCommonDataSafely()) {
            runTestList(result);
            if (!tsSignal::stopRequested() && !tsSignal::foreignFault()) {
                warnAboutNothingRun();
                g_istrm.reportUnusedData();
            }
        }
    }
    pTestList->m_endTime = std::time(nullptr);
    if (headerWritten) {
        outputFooter();
        qmJsonRunEnd();
    }
    // The ini-file and every stream are complete before the .end file says so.
    g_istrm.deleteIniFile();
    flushAllStreams();
    outputSignal();
    deleteTestList();
    // A failed write lost results: the exit status says so (2, with failed tests 3); a refused
    // command line, 4.
    if (qmOutputLost()) result |= 2;
    if (m_refused) result |= 4;
    return result;
}

void qmSession::flushAllStreams() {
    g_ostrm.flush();
    g_cstrm.flush();
    g_qstrm.flush();
    g_ustrm.flush();
    g_mstrm.flush();
}

// A bad common value (a -d or ini-file definition) ends the run before any test, with its message.
bool qmSession::readCommonDataSafely() {
    try {
        readCommonData();
        return true;
    } catch (const qmException& e) {
        // No test can run with it, but the run still ends with its footer and signal file.
        g_istrm.deleteIStream();
        g_ostrm << MSG_ERR << e.msg() << " in readCommonData\n" << MSG_RESTORE;
        return false;
    }
}

// Input that selects or configures nothing is said before the run: a selection no test matches, a
// -F name no selected function contains, ini sections named after no registered function.
void qmSession::warnAboutSelection() {
    if (pTestList->countSelected(m_conditions) == 0) {
        const qmString start = qmTestList::m_startFunc;
        qmTestList::m_startFunc = qmString();
        const bool startHidesAll = !start.empty() && pTestList->countSelected(m_conditions) > 0;
        qmTestList::m_startFunc = start;
        g_ostrm << MSG_ERR << "-- Warning: ";
        if (startHidesAll)
            g_ostrm << "no selected function contains the -F name '" << start.printable() << "'; no test runs\n";
        else
            g_ostrm << "no registered test matches the selection of the -f and -t keys; no test runs\n";
        g_ostrm << MSG_RESTORE;
    }
    if (const qmIniFile* ini = g_istrm.iniFile()) {
        for (const qmIniSection& section : ini->sections()) {
            if (section.name.empty() || section.name == QM_COMMON_SECTION) continue;
            bool known = false;
            for (qmTest* t : pTestList->tests()) known = known || t->funcName() == section.name;
            if (!known)
                g_ostrm << MSG_ERR << "-- Warning: section [" << section.name.printable() << "] of " << ini->name()
                        << " names no registered function; it is not used\n" << MSG_RESTORE;
        }
    }
}

// Selected tests that all passed themselves over (-P without their sections) measured nothing.
void qmSession::warnAboutNothingRun() {
    if (pTestList->total() != 0 || pTestList->countSelected(m_conditions) == 0) return;
    g_ostrm << MSG_ERR << "-- Warning: no selected test ran";
    if (const qmIniFile* ini = g_istrm.iniFile())
        g_ostrm << ": none of their functions has a section in " << ini->name() << " (-P)";
    g_ostrm << "\n" << MSG_RESTORE;
}

void qmSession::runTestList(int& result) {
    if (!qmHotFunctions()) qmRegHotFunction("");
    putTableTitle();
    g_ostrm.setOutLevel(m_levelMode);
    // Each test's own parameters are asked from the console only with -A (All).
    if (m_askMode & 8)
        g_istrm.setIStream(new i_stream(stdin));
    else
        g_istrm.deleteIStream();
    // Exit status: 1 when any selected test failed, else 0.
    result = pTestList->runTests(m_conditions) ? 1 : 0;
}

void qmSession::deleteTestList() {
    if (!pTestList) return;
    for (qmTest* t : pTestList->tests()) delete t;
    delete pTestList;
    pTestList = nullptr;
}

bool qmSession::quickOutput() {
    if (s_version || s_hintArg) {
        g_ostrm << "\n" << "Kavro(R) Zorbex. Quillmark " << QM_version << ", " << QM_buildDate << "\n";
        if (s_hintArg) {
            hint(static_cast<char>(s_hintArg), s_hintHide);
            return true;
        }
    }
    if (m_enumMode > 1) return s_version;
    if (pTestList && m_enumMode == 0 && !m_quickMode) pTestList->sortFunc();
    listTests(m_enumMode);
    return true;
}

void qmSession::setSglName(const qmString& arg) { m_sglName = genOutPath(arg, ".end"); }

// ---------------------------------------------------------------- parsing

bool qmSession::parseCommandLine(int argc, char** argv) {
    m_exePath = argc > 0 && argv && argv[0] ? qmString(argv[0]) : qmString("quillmark");
    m_askMode = 0;
    m_batMode = false;
    m_quickMode = false;
    m_enumMode = 100;
    m_nameMode = 0;
    m_nameExit = false;
    m_unopenedFile = false;
    m_refused = false;
    m_iniName = qmString();
    m_echo = "Command line options: ";

    qmCommandList cmd;
    if (argc < 2) {
        qmString line, cfg;
        if (readCfgFile(line, cfg)) {
            cmd.setArgs(line.c_str());
            m_echo << "read from " << cfg << " file\n";
        } else if (s_cmdLine) {
            cmd.setArgs(s_cmdLine->c_str());
            m_echo += "set by _FORCE_CMDLINE preprocessor definition\n";
        } else {
            m_echo = qmString();
        }
    } else {
        cmd.setArgs(argc, argv);
        m_echo += "\n";
    }

    if (!cmd.unknownLongOption().empty()) {
        g_ostrm << MSG_ERR << "FATAL ERROR: unknown option " << cmd.unknownLongOption().printable()
                << " (the keys are single letters: -h lists them, --help too)\n" << MSG_RESTORE;
        m_refused = true;
        return false;
    }
    m_exitLevel = (cmd.isKey('?') || cmd.isKey('h')) ? 2 : cmd.isKey('e') ? 1 : cmd.isKey('v') ? 3 : 0;

    qmString arg;
    m_inDir = cmd.getArg('p', arg) && !arg.empty() ? genDirName(arg) : exeDir();
    m_outDir = cmd.getArg('l', arg) && !arg.empty() ? genDirName(arg) : exeDir();
    m_defName = cmd.getArg('n', arg) && !arg.empty() ? arg : exeTitle();

    g_ostrm.setOutLevel(ERR | WARN | PERF);
    if (outputsCollide(cmd)) {
        m_refused = true;
        return false;
    }
    for (const auto& k : cmd.keys()) applyOption(k.key, k.arg);
    g_ostrm << m_echo;

    if (m_unopenedFile) {
        g_ostrm << MSG_ERR << "FATAL ERROR: can't open output file for writing\n" << MSG_RESTORE;
        return false;
    }
    if (!m_iniName.empty() && !g_istrm.setIniFile(m_iniName, m_iniWrite)) {
        g_ostrm << MSG_ERR << "FATAL ERROR: can't open ini-file for writing\n" << MSG_RESTORE;
        return false;
    }
    updateOptions();
    return true;
}

// Two keys naming one file (-rsame.txt -osame.txt, or the .end file on the table) would overwrite
// each other's output: the command line is refused before any file is opened. Devices and FIFOs
// (/dev/null) may take several outputs.
bool qmSession::outputsCollide(const qmCommandList& cmd) {
    std::vector<std::pair<qmString, std::string>> files;  // key and argument, the file's canonical path
    auto add = [&](char key, const qmString& arg, const qmString& path) {
        std::error_code ec;
        struct stat st {};
        if (::stat(path.c_str(), &st) == 0 && !S_ISREG(st.st_mode)) return;
        const std::filesystem::path canonical = std::filesystem::weakly_canonical(path.str(), ec);
        files.emplace_back(qmString("-") + qmString(key) + arg.printable(), ec ? path.str() : canonical.string());
    };
    qmString arg;
    for (const auto& k : cmd.keys()) {
        switch (k.key) {
            case 'o': case 'O': add(k.key, k.arg, genOutPath(k.arg, ".txt")); break;
            case 'r': case 'R': add(k.key, k.arg, genOutPath(k.arg, ".csv")); break;
            case 'u': case 'U': add(k.key, k.arg, genOutPath(k.arg, "_sum.csv")); break;
            case 'q':
                if (qKeys && k.arg != "+") add(k.key, k.arg, genOutPath(k.arg, "_name.csv"));
                break;
            default: break;
        }
    }
    if (cmd.getArg('g', arg)) add('g', arg, genOutPath(arg, ".end"));
    // The ini-file of the last -i or -I: written with -I, and read with -i before the run writes.
    for (const auto& k : cmd.keys())
        if (k.key == 'i' || k.key == 'I') arg = qmString(k.key) + k.arg;
    if (cmd.isKey('i') || cmd.isKey('I')) add(arg[0], arg.substr(1), genInPath(arg.substr(1), ".ini"));
    for (size_t i = 0; i < files.size(); ++i)
        for (size_t j = i + 1; j < files.size(); ++j)
            if (files[i].second == files[j].second) {
                g_ostrm << MSG_ERR << "FATAL ERROR: " << files[i].first << " and " << files[j].first
                        << " name the same file " << qmString(files[i].second).printable()
                        << "; nothing is written\n" << MSG_RESTORE;
                return true;
            }
    return false;
}

void qmSession::updateOptions() {
    if (qmOption* t = getOption('T')) {
        const int tab = t->description.find('\t');
        if (tab >= 0) t->description = t->description.left(tab) + qmCpuType::optimizedList() + t->description.substr(tab + 1);
    }
    if (m_batMode)
        m_askMode = 0;
    else if (m_askMode == 0)
        m_askMode = 3;
}

// ---------------------------------------------------------------- help

void qmSession::hint(char key, bool hide) {
    if (key == 1)
        hint_quick(hide);
    else if ((key == 'h' && hide) || (key == '?' && !hide))
        hint_full(hide);
    else
        hint_descr(key);
}

void qmSession::hint_quick(bool hide) {
    g_ostrm << "QUICK HELP" << (hide ? "" : " with hidden keys") << "\n";
    for (qmOption* o : m_options)
        if (!(hide && o->hidden)) g_ostrm << o->help;
}

void qmSession::hint_full(bool hide) {
    g_ostrm << "EXTENDED HELP" << (hide ? "" : " with hidden keys") << "\n";
    for (qmOption* o : m_options) {
        if ((hide && o->hidden) || o->help.empty()) continue;
        g_ostrm << "\n" << o->help;
        if (o->hidden) g_ostrm << "This is hidden key used by developers only\n";
        g_ostrm << o->description;
    }
}

void qmSession::hint_descr(char key) {
    g_ostrm << "EXTENDED KEY HELP\n";
    qmOption* o = getOption(key);
    if (!o) {
        g_ostrm << "Key -" << key << " is not valid\n";
        return;
    }
    if (o->help.empty()) {
        g_ostrm << "Key -" << key << " is deprecated\n";
        return;
    }
    g_ostrm << o->help;
    g_ostrm << (o->description.empty() ? qmString("No detailed description for this key\n") : o->description);
}
