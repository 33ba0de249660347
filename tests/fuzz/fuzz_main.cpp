// Before the first input: the built string tables, and all trace lines made but not written.
#include "support/bundle.h"
#include "support/log.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    qv::Bundle::setMain(qv::Bundle(QStringLiteral(QV_BUILT_BUNDLE)));
    qv::setLogSink([](const QByteArray &) {});
    qv::setDebug(true);
    return 0;
}
