// tessivo: read Outlook message files from the shell.
#if __has_include(<malloc.h>)
#include <malloc.h>
#endif
#include <iostream>

#include "commands.h"
#include "version.h"

int main(int argc, char** argv) {
    using namespace tessivo::cli;
#ifdef M_TRIM_THRESHOLD
    // Many messages pass through one process (archive mode, the Recoll
    // handler): keep up to 24 MB that one message frees for the next instead
    // of handing it back to the system and faulting it in again, which
    // tripled the time of an archive run over real mail. Blocks above 32 MB
    // still come from the system and go back to it.
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 24 << 20);
#endif
    CLI::App app{"Read Outlook message files (.msg), TNEF streams and MIME messages.", "tessivo"};
    app.set_version_flag("--version", std::string("tessivo ") + TESSIVO_VERSION);
    app.require_subcommand(1);
    app.footer("Exit status: 0 success, 1 unreadable or undecodable input, 2 usage error.");

    int status = kExitOk;
    addLsCommand(app, status);
    addCatCommand(app, status);
    addRecollSetupCommand(app, status);
    addRecollHandlerCommand(app, status);
    addBalooSetupCommand(app, status);
    addDecodeCommand(app, status);
    addTextCommand(app, status);
    addDumpCommand(app, status);
    addSummaryCommand(app, status);
    addAttachmentsCommand(app, status);

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        app.exit(e);
        return kExitUsage;
    }
    return status;
}
