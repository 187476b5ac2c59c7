// qmSession: owns one run of the program from the command line to the exit status.
#pragma once
#include <memory>
#include "qmconditions.h"
#include "qmlist.h"
#include "qmoptions.h"
#include "qmstream.h"
#include "qmstring.h"
#include "zkrcore.h"

class qmTool;

class qmSession {
public:
    qmSession() = default;

    // Virtual operations, in slot order.
    virtual ~qmSession();
    virtual bool initSession();
    virtual int run(int argc, char** argv);
    virtual void funcTitleToCStream();
    virtual void parmsTitleToCStream();
    virtual void resultTitleToCStream();
    virtual void putTableTitle();
    virtual void putTableTitleLine();
    virtual bool startSession() { return true; }
    virtual void updateOptions();
    virtual bool parseCommandLine(int argc, char** argv);
    virtual void listTests(int mode);
    virtual void hint(char key, bool hide);
    virtual void hint_quick(bool hide);
    virtual void hint_full(bool hide);
    virtual void hint_descr(char key);
    virtual void outputHeader();
    virtual void outputFooter();
    virtual void outputSignal();
    virtual int readCommonData();

    // Settings made by the keys.
    void addCondition(std::unique_ptr<RunCondition> c) { m_conditions.add(std::move(c)); }
    qmConditions& conditions() { return m_conditions; }
    void addAskMode(int mask) { m_askMode |= mask; }
    int askMode() const { return m_askMode; }
    void setBatMode(bool b) { m_batMode = b; }
    bool batMode() const { return m_batMode; }
    void addLevelMode(int mask) { m_levelMode |= mask; }
    int levelMode() const { return m_levelMode; }
    void setQuickMode(bool q) { m_quickMode = q; }
    bool quickMode() const { return m_quickMode; }
    void setEnumMode(int m) { m_enumMode = m; }
    int enumMode() const { return m_enumMode; }
    void setIniMode(const qmString& name, bool write) { m_iniName = name; m_iniWrite = write; }
    const qmString& iniName() const { return m_iniName; }
    bool iniWrite() const { return m_iniWrite; }
    void setSglName(const qmString& arg);
    const qmString& sglName() const { return m_sglName; }
    const qmString& echo() const { return m_echo; }
    void unopenedFile() { m_unopenedFile = true; }

    // Options.
    void initOption(char key, const qmString& help, std::function<qmString(const qmString&)> info,
                    std::function<void(const qmString&, qmSession*)> apply, const qmString& description,
                    bool hidden = false, int ignoredOnExit = 0);
    qmOption* getOption(char key);
    void applyOption(char key, const qmString& arg);
    bool readCfgFile(qmString& line, qmString& fileName);
    static bool isExit(int level) { return m_exitLevel >= level; }
    static qmString getExitInfo();

    // Paths.
    static void setInDir(const qmString& dir) { m_inDir = genDirName(dir); }
    static void setOutDir(const qmString& dir) { m_outDir = genDirName(dir); }
    static void setDefName(const qmString& name) { m_defName = name; }
    static qmString exeDir();
    static qmString exeTitle();
    static qmString genDirName(const qmString& dir);
    static qmString genPathName(const qmString& dir, const qmString& name, const qmString& ext);
    static qmString genInPath(const qmString& name, const qmString& ext) { return genPathName(m_inDir, name, ext); }
    static qmString genOutPath(const qmString& name, const qmString& ext) { return genPathName(m_outDir, name, ext); }
    static const qmString& getInPath() { return m_inDir; }
    static const qmString& getOutPath() { return m_outDir; }
    static const qmString& defName() { return m_defName; }

    // Common data.
    int readTimingMethod();
    int readAccuracy(int method);
    int readCommonParms();
    int readDataOffset();
    static qmString getEnterTitle(const qmString& title);

    bool quickOutput();
    void deleteTestList();

    static qmString m_exePath;
    static qmString m_inDir;
    static qmString m_outDir;
    static qmString m_defName;
    static int m_exitLevel;  // 0 none, 1 -e, 2 -h or -?, 3 -v
    static int m_nameMode;   // 1: name lines into the -r/-R tables, 2: separate name table
    static bool m_nameExit;  // -Q

protected:
    void registerKeys();
    void setZkrEnvironment();
    void initStaticCpu();
    void setNumThreads();
    void setZkrLibInfo();
    void printStatus(int status);
    bool readCommonDataSafely();
    void flushAllStreams();
    void warnAboutSelection();
    bool outputsCollide(const qmCommandList& cmd);
    void warnAboutNothingRun();
    void runTestList(int& result);

    qmConditions m_conditions;
    int m_askMode = 0;
    bool m_batMode = false;
    int m_levelMode = ERR;
    bool m_quickMode = false;
    int m_enumMode = 100;
    qmString m_iniName;
    bool m_iniWrite = false;
    qmList<qmOption*> m_options;
    qmString m_echo;
    qmString m_sglName;
    bool m_unopenedFile = false;
    bool m_refused = false;  // the command line was refused before anything ran (exit status 4)
    qmList<class qmParameter*> m_commonParms;
};

// Process-wide registration points (callable from static initialisers; all return true).
extern qmSession* pSession;
bool qmRegSession(qmSession* session);
bool qmRegZkrEnvironment(void (*environment)());
bool qmRegZkrVersion(const ZkrLibraryVersion* (*getter)());
bool qmRegParmFunc(void (*hook)());
bool qmRegQKeys();
bool qmRegCmdLine(const qmString& line);
// Optional preset of the timing method (applied to the tool whose values become the defaults).
extern void (*initTimingMethod)(qmTool&);

// Process-wide flags set by keys.
extern bool s_version;
extern int s_hintArg;   // 0 none, 1 quick help, else the key letter asked
extern bool s_hintHide;
extern int s_cpuType;   // -1: not given
extern int s_numThreads;  // < 1: not given
extern bool qKeys;
extern void (*zkrEnvironment)();
extern void (*s_parmFunc)();
extern qmList<const ZkrLibraryVersion* (*)()>* zkrVersionList;
// "name, version, build date" of every library whose version getter is registered and answers.
qmList<qmString> qmZkrVersionTexts();
extern const char* const QM_version;
extern const char* const QM_buildDate;
