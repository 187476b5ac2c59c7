// The key table of the session: one-line help, echo text, effect and extended description of every
// key, in the order of every help listing.
#include <unistd.h>

#include "qmconditions.h"
#include "qmcpuid.h"
#include "qmistream.h"
#include "qmjson.h"
#include "qmsession.h"
#include "qmtest.h"
#include "qmtestlist.h"
#include "qmtool.h"
#include "qmzkrenv.h"

namespace {

using Info = std::function<qmString(const qmString&)>;
using Apply = std::function<void(const qmString&, qmSession*)>;

Info text(const char* t) {
    return [t](const qmString&) { return qmString(t); };
}

const Apply nothing = [](const qmString&, qmSession*) {};

// Output files: a path from the argument and the default extension, opened by the given stream.
template <class Stream>
Apply openTable(Stream& stream, const char* ext, bool append) {
    return [&stream, ext, append](const qmString& arg, qmSession* s) {
        if (!stream.addStream(qmSession::genOutPath(arg, ext), append)) s->unopenedFile();
    };
}

Info pathInfo(const char* lead, const char* ext, bool in = false) {
    return [lead, ext, in](const qmString& arg) {
        return qmString(lead) + (in ? qmSession::genInPath(arg, ext) : qmSession::genOutPath(arg, ext));
    };
}

int askMask(const qmString& arg) {
    int mask = 0;
    for (char c : arg.str()) mask |= c == 'T' ? 1 : c == 'P' ? 2 : c == 'M' ? 4 : 0;
    return mask ? mask : 15;
}

qmString levelText(int mask) {
    static const char* const parts[] = {"errors",          ",warnings",   ",performance results",
                                        ",measurement process", ",tracing info", ",memory info",
                                        ",data info"};
    qmString t = "write ";
    for (int bit = 0; bit < 7; ++bit)
        if (mask & (1 << bit)) t += parts[bit];
    return t + " to console";
}

int priorityLevel(const qmString& arg) {
    if (arg.empty()) return 0;
    return arg[0] == 'H' ? 1 : arg[0] == 'N' ? 2 : arg[0] == 'L' ? 3 : 0;
}

qmString patternInfo(const qmString& arg, bool onFunction) {
    if (!qmConditions::fromKey(arg, onFunction))
        return onFunction ? "ignored: empty function pattern" : "ignored: empty test pattern";
    const char sign = arg[0];
    const qmString p = (sign == '=' || sign == '+' || sign == '-') ? arg.substr(1) : arg;
    if (onFunction) {
        const char* lead = sign == '=' ? "test function equal to '"
                           : sign == '+' ? "don't test functions without '"
                           : sign == '-' ? "don't test functions containing '"
                                         : "test functions containing '";
        return lead + p + "' in the name";
    }
    const char* lead = sign == '=' ? "run test equal to "
                       : sign == '+' ? "don't run tests which doesn't contain "
                       : sign == '-' ? "don't run tests containing "
                                     : "run tests containing ";
    return lead + p;
}

// -m (memory table "<default-name>_mem.csv", help "-m[<file-name>]  = create *_mem.csv file and write
// memory info") has its effect defined but is deliberately not offered: on the command line it is
// rejected as an incorrect key.
[[maybe_unused]] const Info memoryTableInfo = pathInfo("write memory info to ", "_mem.csv");
[[maybe_unused]] const Apply memoryTableApply = openTable(g_mstrm, "_mem.csv", false);

// The thread counts -N accepts: 1 up to eight threads a processor the system has online. Beyond
// that the library would only queue its bands; a count past the range of int never reaches it.
constexpr long long kThreadsPerCore = 8;
bool threadCount(const qmString& arg, long long& n) {
    const long cores = sysconf(_SC_NPROCESSORS_ONLN);
    return arg.toInt(n) && n >= 1 && n <= (cores > 0 ? cores : 1) * kThreadsPerCore;
}

const char* const kNoBinding = "ignored: <zkrcore.h> is not included before <zk.h> in test files";

qmString helpInfo(const qmString& arg, bool hide) {
    if (arg.empty()) return hide ? "type short help and exit" : "type short help with hidden key sand exit";
    if (arg == (hide ? "h" : "?"))
        return hide ? "type extended help and exit" : "type extended help with hidden keys and exit";
    return qmString("type extended help for -") + arg[0] + " key and exit";
}

Apply helpApply(bool hide) {
    return [hide](const qmString& arg, qmSession*) {
        s_hintArg = arg.empty() ? 1 : arg[0];
        s_hintHide = hide;
    };
}

}  // namespace

void qmSession::registerKeys() {
    initOption('B', "-B               = batch mode (no console input)\n", text("batch mode"),
               [](const qmString&, qmSession* s) { s->setBatMode(true); },
               "Batch mode: nothing is asked from the console. Every value comes from -d keys, the ini-file\n"
               "or the defaults. -B wins over any -A key.\n",
               false, 1);
    initOption('A', "-A<Timing|Params|Misalign|All> = set detail level of the console input\n",
               [](const qmString& arg) {
                   const int m = askMask(arg);
                   qmString t = "ask";
                   if (m & 1) t += ", timing method";
                   if (m & 2) t += ", common parameters";
                   if (m & 4) t += ", data misalignment";
                   if (m & 8) t += ", each test parameters";
                   return t + " from console";
               },
               [](const qmString& arg, qmSession* s) { s->addAskMode(askMask(arg)); },
               "Chooses what is asked from the console: T - timing method, P - common parameters,\n"
               "M - data misalignment; any other argument (All) asks everything, including the parameters\n"
               "of each test before it runs. Several -A keys combine; -B wins over -A.\n",
               false, 1);
    initOption('d', "-d<name>=<value> = set QM parameter value\n",
               [](const qmString& arg) {
                   if (arg.empty()) return qmString("ignored: empty data argument");
                   if (arg.find('=') < 0) return qmString("ignored: incorrect data format");
                   return "set QM parameter " + arg;
               },
               [](const qmString& arg, qmSession*) {
                   // "-d=5" is kept under an empty name: the run's end warns that it named nothing.
                   const int eq = arg.find('=');
                   if (eq >= 0) g_istrm.addData(arg.left(eq).trimmed(), arg.substr(eq + 1).trimmed());
               },
               "Sets the value of a named parameter, e.g. -dMethod=Manual -dNumLoops=100. The key may\n"
               "repeat and has the highest priority: a parameter given by -d is neither read from the\n"
               "ini-file nor asked from the console.\n",
               false, 1);
    initOption('i', "-i[<file-name>]  = read QM parameters from ini-file\n", pathInfo("read from ", ".ini", true),
               [](const qmString& arg, qmSession* s) { s->setIniMode(genInPath(arg, ".ini"), false); },
               "Reads parameter values from the ini-file: the section [Quillmark] holds the common\n"
               "parameters, a section named after a function the parameters of that function's test.\n"
               "A parameter read from the ini-file is not asked from the console. Of several -i and -I\n"
               "keys the last one is valid.\n",
               false, 1);
    initOption('I', "-I[<file-name>]  = write QM parameters to ini-file and exit\n",
               [](const qmString& arg) { return "write QM parameters to " + genInPath(arg, ".ini") + " and exit"; },
               [](const qmString& arg, qmSession* s) { s->setIniMode(genInPath(arg, ".ini"), true); },
               "Writes every parameter that would be asked, at its default value, into the ini-file\n"
               "(values already in the file are kept) and exits without measuring. Of several -i and -I\n"
               "keys the last one is valid.\n",
               false, 1);
    initOption('P', "-P               = read tested function names from ini-file\n",
               text("read tested function names from ini-file if any"),
               [](const qmString&, qmSession*) { g_istrm.setSectionsOnly(true); },
               "Together with -i: only the functions that appear as section names in the ini-file are\n"
               "measured.\n",
               false, 1);
    initOption('o', "-o[<file-name>]  = create txt-file and write console output\n",
               pathInfo("write console output to ", ".txt"), openTable(g_ostrm, ".txt", false),
               "Creates a text listing that receives a copy of everything shown on the console.\n"
               "The key may repeat: every file named is created and filled.\n");
    initOption('O', "-O[<file-name>]  = add console output to txt-file\n",
               pathInfo("add console output to ", ".txt"), openTable(g_ostrm, ".txt", true),
               "As -o, but appends to an existing listing.\n");
    initOption('L', "-L<ERR|WARN|PERF|INFO|TRACE|DATA> = set detail level of the console output\n",
               [](const qmString& arg) {
                   const int m = qmLevelMask(arg);
                   return m ? levelText(m) : qmString("ignored: incorrect level of console output");
               },
               [](const qmString& arg, qmSession* s) { s->addLevelMode(qmLevelMask(arg)); },
               "Chooses what the console shows. Every letter of the argument counts: E errors,\n"
               "W warnings, P performance results, I the measurement process, T tracing, M memory\n"
               "information, D data; each letter includes the levels before it. Several -L keys combine.\n",
               false, 1);
    initOption('r', "-r[<file-name>]  = create csv-file and write QM results\n",
               pathInfo("write performance result table to ", ".csv"), openTable(g_cstrm, ".csv", false),
               "Creates a comma-separated table of the performance results, one row per measured\n"
               "parameter set. The key may repeat: every file named is created and filled.\n");
    initOption('R', "-R[<file-name>]  = add QM results to csv-file\n",
               pathInfo("add performance result table to ", ".csv"), openTable(g_cstrm, ".csv", true),
               "As -r, but appends to an existing table.\n");
    initOption('j', "-j[<file-name>]  = create json-file and write QM results with run metadata\n",
               pathInfo("write JSON results with run metadata to ", ".json"),
               [](const qmString& arg, qmSession* s) {
                   if (!g_json.addFile(genOutPath(arg, ".json"))) s->unopenedFile();
               },
               "Writes one JSON document per run: the run's metadata (program and library versions and\n"
               "builds, command line, host, processor, caches, requested and active level, thread count,\n"
               "times, load, environment warnings) and one record per measured parameter set. The file is\n"
               "written whole at the end of the run. The key may repeat: every file named is written.\n"
               "docs/results.schema.json describes the document.\n");
    if (qKeys) {
        initOption('q',
                   "-q[<file-name>]  = create csv-file (*_name.csv is default) and write function parameter name "
                   "lines\n"
                   "-q+              = add function parameter name lines to QM results table file\n",
                   [](const qmString& arg) {
                       if (arg == "+") return qmString("add function parameter name lines to csv files defined by -r & -R keys");
                       return "write function parameter name lines to " + genOutPath(arg, "_name.csv");
                   },
                   [](const qmString& arg, qmSession* s) {
                       if (arg == "+") {
                           m_nameMode |= 1;
                           return;
                       }
                       m_nameMode |= 2;
                       if (!g_qstrm.addStream(genOutPath(arg, "_name.csv"), false)) s->unopenedFile();
                   },
                   "Writes for every test a line with the names of its parameters: into a table of its own\n"
                   "(-q), or into the result tables of -r and -R (-q+).\n",
                   false, 1);
        initOption('Q', "-Q               = exit after function parameter name table creation\n",
                   text("exit after function parameter name table creation and don't run tests\n"),
                   [](const qmString&, qmSession*) { m_nameExit = true; },
                   "Writes the parameter name lines of every selected test and measures nothing.\n", false, 1);
    }
    initOption('u', "-u[<file-name>]  = create csv-file and write summary table ('_sum' is added to default title name)\n",
               pathInfo("write summary table to ", "_sum.csv"), openTable(g_ustrm, "_sum.csv", false),
               "Creates a comma-separated table with one row per test and the summary of the run.\n", false, 1);
    initOption('U', "-U[<file-name>]  = add summary table to csv-file ('_sum' is added to default title name)\n",
               pathInfo("add summary table to ", "_sum.csv"), openTable(g_ustrm, "_sum.csv", true),
               "As -u, but appends to an existing table.\n", false, 1);
    initOption('g', "-g[<file-name>]  = create signal file at the end of the whole testing\n",
               [](const qmString& arg) { return "create file " + genOutPath(arg, ".end") + " at the end of QM work"; },
               [](const qmString& arg, qmSession* s) { s->setSglName(arg); },
               "Writes a small file when everything else is written: the elapsed time and the end time.\n"
               "Another program can wait for it to learn that the testing is over. Only the last key is\n"
               "valid.\n");
    initOption('n', "-n<title-name>   = default title name for ini-file and output files\n",
               [](const qmString& arg) {
                   return arg.empty() ? qmString("ignored: empty default name")
                                      : "name ini-file and output files as " + arg + ".<proper-ext>";
               },
               nothing,
               "The default name of the ini-file and of the output files, instead of the name of the\n"
               "executable. Only the last key is valid; it applies wherever it stands on the line.\n");
    initOption('p', "-p<dir-name>     = default directory for input files i.e. ini & test data files\n",
               [](const qmString& arg) {
                   return arg.empty() ? qmString("ignored: empty directory name")
                                      : "open test data files & ini-file in " + genDirName(arg);
               },
               nothing,
               "The directory of the input files (ini-file, test pictures) instead of the executable's\n"
               "directory; a relative path is taken from the executable's directory. Only the last key\n"
               "is valid.\n");
    initOption('l', "-l<dir-name>     = default directory for output files (listings)\n",
               [](const qmString& arg) {
                   return arg.empty() ? qmString("ignored: empty directory name") : "open output files in " + genDirName(arg);
               },
               nothing,
               "The directory of the output files instead of the executable's directory; a relative path\n"
               "is taken from the executable's directory. Only the last key is valid.\n");
    initOption('f',
               "-f < or-pattern> = run tests for functions with pattern in name\n"
               "-f-<not-pattern> = don't run tests for functions with pattern in name\n"
               "-f+<and-pattern> = run tests only for functions with pattern in name\n"
               "-f=< eq-pattern> = run tests for function with this full name\n",
               [](const qmString& arg) { return patternInfo(arg, true); },
               [](const qmString& arg, qmSession* s) {
                   if (auto c = qmConditions::fromKey(arg, true)) s->addCondition(std::move(c));
               },
               "Selects functions by their full names. The list is built in four steps: all -f patterns\n"
               "combined, then functions containing a -f- pattern excluded, then functions not containing\n"
               "every -f+ pattern excluded, then -f= keys are added to the list. Names are compared with\n"
               "letter case.\n",
               false, 2);
    initOption('t', "-t[-/+/=]<patrn> = run (don't run) tests with pattern in test name\n",
               [](const qmString& arg) { return patternInfo(arg, false); },
               [](const qmString& arg, qmSession* s) {
                   if (auto c = qmConditions::fromKey(arg, false)) s->addCondition(std::move(c));
               },
               "Selects tests by the test name (the class of the test, e.g. TimiAdd), built in the same\n"
               "four steps as -f.\n",
               false, 2);
    initOption('F', "-F<func-name>    = start testing from function with func-name full name\n",
               [](const qmString& arg) { return "start testing from " + arg + " function"; },
               [](const qmString& arg, qmSession*) { qmTestList::m_startFunc = arg; },
               "Passes over the selected tests until the first one whose function name contains the\n"
               "text; from there on every selected test runs. Only the last key is valid.\n",
               false, 1);
    initOption('Y', "-Y<HIGH|NORMAL>  = set high or normal process prioritY (normal is default)\n",
               [](const qmString& arg) {
                   const int level = priorityLevel(arg);
                   if (!level) return qmString("ignored: incorrect process priority value");
                   return qmString("set ") + (level == 1 ? "high" : level == 2 ? "normal" : "low") + " process priority";
               },
               [](const qmString& arg, qmSession*) {
                   if (int level = priorityLevel(arg)) qmTool::m_priority = level;
               },
               "Raises (HIGH) or keeps (NORMAL) the scheduling priority of the process around every timed\n"
               "span; LOW lowers it. Takes effect only when the program runs as root. Only the last key\n"
               "is valid.\n",
               false, 1);
    initOption('H', "-H[ONLY]         = add 'Interest' column to table file [and run only hot tests]\n",
               [](const qmString& arg) {
                   return arg.startsWith("O") ? qmString("run tests for hot functions only")
                                              : qmString("add 'Interest' column to table file");
               },
               [](const qmString& arg, qmSession*) { qmTest::m_hot = arg.startsWith("O") ? 2 : 1; },
               "Marks the functions of the hot list in an 'Interest' column of the result table; with\n"
               "ONLY, measures nothing else. Only the last key is valid.\n",
               false, 2);
    if (g_zkr.init && g_zkr.init() != QM_ZKR_NOT_BOUND) {
        initOption('T', "-T[<cpu-name>]   = call zkrInitStaticCpu( zkrCpu<cpu-name> )\n",
                   [](const qmString& arg) {
                       if (!zkrEnvironment) return qmString(kNoBinding);
                       if (qmCpuType::findByLabel(arg) < 0) return qmString("ignored: incorrect CPU type");
                       return "call zkrInitStaticCpu ( zkrCpu" + arg + " )";
                   },
                   [](const qmString& arg, qmSession*) {
                       const int code = qmCpuType::findByLabel(arg);
                       if (code >= 0 && zkrEnvironment) s_cpuType = code;
                   },
                   "Makes the library use the code path optimized for the named processor type before the\n"
                   "measurement; the machine must be able to run it. Only the last key is valid. Types:\n\t");
        initOption('N', "-N[<num-threads>]= call zkrSetNumThreads( <num-threads> )\n",
                   [](const qmString& arg) {
                       if (!zkrEnvironment) return qmString(kNoBinding);
                       long long n = 0;
                       if (!threadCount(arg, n)) return qmString("ignored: incorrect number of threads");
                       return "call zkrSetNumThreads(" + qmString::fromInt(n) + ")";
                   },
                   [](const qmString& arg, qmSession*) {
                       long long n = 0;
                       if (zkrEnvironment && threadCount(arg, n)) s_numThreads = static_cast<int>(n);
                   },
                   "Sets the number of threads the library may use for one call, from 1 to eight times the\n"
                   "number of processors online. Only the last key is valid.\n");
    }
    initOption('S', "-SU              = measure functions with data set & use\n",
               text("include to measurement data set & use time"),
               [](const qmString&, qmSession*) { g_tool.callMode = true; },
               "Each timed call is preceded by restoring the test data, and the restoring is timed with\n"
               "it, so the figure includes setting the data and using it.\n",
               true, 1);
    initOption('C', "-C               = run tests with data in cache and out of cache (if that is supported by test)\n",
               text("test data size will be in cache and out of cache if that is supported by test"),
               [](const qmString&, qmSession*) { qmTest::m_cache = true; },
               "Tests that support it are measured twice: with data sized to fit in the largest cache and\n"
               "with data sized beyond it; the sizes are adjusted until they fit the mode.\n",
               true, 1);
    initOption('s', "-s[-]            = sort or don't sort functions (sort mode is default)\n",
               [](const qmString& arg) { return qmString(arg == "-" ? "don't sort functions" : "sort functions"); },
               [](const qmString& arg, qmSession* s) {
                   if (arg == "-") s->setQuickMode(true);
               },
               "Tests run sorted by function name, type and layout; -s- keeps the order in which the test\n"
               "modules registered them. The last key is valid.\n",
               false, 2);
    initOption('e', "-e               = enumerate tests and exit\n",
               [](const qmString& arg) {
                   return qmString(arg == "+"   ? "enumerate applied and not applied library functions and exit"
                                   : arg == "-" ? "enumerate not applied library functions and exit"
                                                : "enumerate tested functions and exit");
               },
               [](const qmString& arg, qmSession* s) { s->setEnumMode(arg == "+" ? 1 : arg == "-" ? -1 : 0); },
               "Lists the selected tests and their functions (-e), the library's exported functions marked\n"
               "as tested or not (-e+), or only the library functions that no test measures (-e-), and\n"
               "exits.\n",
               false, -1);
    initOption('v', "-v               = type the version number of the Quillmark and exit\n",
               text("type the version number of the Quillmark and exit"),
               [](const qmString&, qmSession*) { s_version = true; },
               "Prints the banner with the version and exits (with -e: then lists, with -h: then helps).\n");
    initOption('h',
               "-h               = type short help and exit\n"
               "-hh              = type extended help and exit\n"
               "-h<key>          = type extended help for the key and exit\n",
               [](const qmString& arg) { return helpInfo(arg, true); }, helpApply(true),
               "Prints the one-line help of every key (-h), the extended help of every key (-hh) or of\n"
               "one key (-h<key>) and exits. Only the last key is valid.\n");
    initOption('?', "", [](const qmString& arg) { return helpInfo(arg, false); }, helpApply(false),
               "-?               = type short help with hidden keys and exit\n"
               "-??              = type extended help with hidden keys and exit\n"
               "-?<key>          = type extended help for the key and exit\n"
               "As -h, but the keys used by developers only are shown too.\n");
}
