// SPDX-License-Identifier: BSD-2-Clause
// talvox-pc: sends commands of the serial protocol to a talvox controller,
// as the PC application does, and prints the answers in plain words.
#include "ClientOptions.h"
#include "CommandRunner.h"
#include "DecodeCommand.h"
#include "ProtocolReference.h"
#include "ReplayCommand.h"

#include "CEventLogger.h"
#include "QtCompat.h"

#include <QCoreApplication>
#include <QTextStream>

#include <cstdio>

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    // Scripts and terminals speak UTF-8; what goes on the line is chosen
    // by --charset, not by the terminal.
    QtCompat::setUtf8(out);
    QtCompat::setUtf8(err);
    // The shared frame receiver logs through the service's logger; a PC
    // tool has nothing to say there.
    CEventLogger::initialize("talvox-pc", CEventLogger::LOG_LEVEL_EMERGENCY);
    CEventLogger::setLoggingEnabled(false);

    ClientOptions options;
    QString error;
    if (!parseOptions(QCoreApplication::arguments(), &options, &error)) {
        err << "talvox-pc: " << error << '\n';
        return CommandRunner::BadCommand;
    }
    switch (options.mode) {
    case ClientOptions::Help:
        out << helpText();
        return 0;
    case ClientOptions::List:
        out << commandList();
        return 0;
    case ClientOptions::ListMarkdown:
        out << protocolReferenceMarkdown();
        return 0;
    case ClientOptions::Run:
        break;
    }

    TextCharset charset;
    if (!charset.setLocaleCodec(options.localeCodec)) {
        err << "talvox-pc: unknown character set \"" << options.localeCodec << "\" for --locale-codec\n";
        return CommandRunner::BadCommand;
    }
    charset.select(options.charset);
    if (options.command.value(0).compare(QLatin1String("decode"), Qt::CaseInsensitive) == 0)
        return runDecode(options.command.mid(1), charset, options.raw, out, err);
    if (options.command.value(0).compare(QLatin1String("replay"), Qt::CaseInsensitive) == 0)
        return runReplay(options.command.mid(1), options.device, options.timeoutMs, charset, out, err);

    CommandRunner runner(options, charset, out, err);
    // A single command is checked before the device is opened, so a typo
    // is explained even without a controller.
    CommandRunner::Request request;
    if (!options.command.isEmpty()) {
        const CommandRunner::ExitCode prepared = runner.prepare(options.command, &request);
        if (prepared != CommandRunner::Done)
            return prepared;
    }
    if (!runner.open(&error)) {
        err << "talvox-pc: " << error << '\n';
        return CommandRunner::DeviceFailed;
    }
    if (!options.command.isEmpty())
        return runner.send(request);
    QTextStream in(stdin);
    QtCompat::setUtf8(in);
    return runner.runScript(in);
}
