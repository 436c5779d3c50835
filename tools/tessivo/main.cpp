// tessivo: read Outlook message files from the shell.
#include <iostream>

#include "commands.h"
#include "version.h"

int main(int argc, char** argv) {
    using namespace tessivo::cli;
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
