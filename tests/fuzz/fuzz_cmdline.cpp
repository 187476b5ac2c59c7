// libFuzzer target of the command text: any bytes as the text of a .cfg line (split at " ;\t\r\n" into
// keys and arguments). Every key found gets its echo text; the keys that only change settings in
// memory (-B -A -d -f -t -F -L -s -n) are applied; then every -d pair is read back as the parameter it
// names, as an int list or range, an image size and a timing method. Nothing may crash; a bad value is
// refused with a qmException.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "qmistream.h"
#include "qmmapiterator.h"
#include "qmoptions.h"
#include "qmsession.h"
#include "qmstepiterator.h"
#include "qmstream.h"

namespace {

template <class Parm>
void readBack(Parm& p) {
    try {
        p.fromIStream(g_istrm);
        int n = 0;
        for (bool more = p.firstValue(); more && n < 64; more = p.nextValue(), ++n) (void)p.valueString();
    } catch (const qmException&) {
        // refused with its message
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    g_ostrm.setOutLevel(0);
    // A .cfg line is read into 1024 bytes: at most 1023 characters, up to the first line end.
    const std::string text(reinterpret_cast<const char*>(data), size < 1023 ? size : 1023);
    if (text.find('\0') != std::string::npos) return 0;  // fgets stops there; no such line exists

    qmSession session;
    session.initSession();
    qmCommandList cmd;
    cmd.setArgs(text.c_str());
    for (const qmCommandKey& k : cmd.keys()) {
        qmOption* opt = session.getOption(k.key);
        if (!opt) continue;
        (void)opt->info(k.arg);
        if (std::strchr("BAdftFLsn", k.key)) opt->apply(k.arg, &session);
    }
    for (const qmCommandKey& k : cmd.keys()) {
        if (k.key != 'd') continue;
        const int eq = k.arg.find('=');
        if (eq <= 0) continue;
        const qmString name = k.arg.left(eq).trimmed();
        qmStepIterator<int> asInt(64, name, "int");
        readBack(asInt);
        zkSizeIterator asSize(ZkriSize{64, 64}, name, "size");
        readBack(asSize);
        qmMapIterator<int> asMap(0, name, "method", {{"Auto", 0}, {"Manual", 1}});
        readBack(asMap);
    }
    g_istrm.clearData();
    qmSession::setDefName("quillmark");
    return 0;
}
