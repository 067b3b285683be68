// vela-assist: the command-line front end of VELA AI Assist.
#include <cstdio>
#include <string>
#include <vector>

#include "cli.h"

namespace {

void usage(std::FILE* to) {
    std::fputs(
        "usage: vela-assist <command> [arguments]\n"
        "\n"
        "commands:\n"
        "  info DRAWING [--entities] [--strict]\n"
        "                       counts per entity type, layers and extents of a DXF drawing; with\n"
        "                       --entities, one JSON line per entity (handle, type, block, layer, extents);\n"
        "                       with --strict, a damaged drawing is refused instead of repaired\n"
        "  convert IN OUT       load a DXF drawing and save it again as DXF R2018\n"
        "  run [DRAWING|--new] [--save OUT]\n"
        "                       converse with the assistant module: one JSON request a line on standard\n"
        "                       input, one answer a line on standard output (bundled sample by default)\n"
        "  render DRAWING OUT.png|OUT.svg [--size WxH] [--window X1,Y1,X2,Y2] [--around H1,H2,...]\n"
        "         [--handles H1,H2,...|all] [--dark] [--no-lineweights]\n"
        "                       a picture of the drawing's model space: its extents, the window given in\n"
        "                       drawing units or the entities named by handle; --handles writes handles on\n"
        "                       the entities (all of them, or those listed)\n"
        "  shell [DRAWING]      an interactive command line, as in a CAD program\n"
        "  mcp [DRAWING|--new] [--root DIR] [--http PORT]\n"
        "                       a Model Context Protocol server: every assistant command as a tool for AI\n"
        "                       clients, over standard input/output or HTTP on 127.0.0.1 (with a token);\n"
        "                       files are opened and saved only under DIR (default: the current folder)\n"
        "  serve [DRAWING|--new] [--port N] [--listen ADDRESS] [--open] [--settings FILE]\n"
        "                       the assistant page with the drawing, served on 127.0.0.1 to a browser: the\n"
        "                       drawing, a console of the assistant's commands, layers, changes, LISP, undo\n"
        "                       and a chat with a model of your choosing; prints the page's address\n"
        "  catalogue            the assistant's commands with descriptions and JSON Schemas of their "
        "requests\n"
        "  help                 this text\n",
        to);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        usage(stderr);
        return 2;
    }
    const std::string command = argv[1];
    const std::vector<std::string> args(argv + 2, argv + argc);
    if (command == "info") return vela::cli::infoCommand(args);
    if (command == "convert") return vela::cli::convertCommand(args);
    if (command == "run") return vela::cli::runCommand(args);
    if (command == "shell") return vela::cli::shellCommand(args);
    if (command == "catalogue") return vela::cli::catalogueCommand(args);
    if (command == "render") return vela::cli::renderCommand(args);
    if (command == "mcp") return vela::cli::mcpCommand(args);
    if (command == "serve") return vela::cli::serveCommand(args);
    if (command == "help" || command == "--help" || command == "-h") {
        usage(stdout);
        return 0;
    }
    std::fprintf(stderr, "vela-assist: unknown command '%s'\n\n", command.c_str());
    usage(stderr);
    return 2;
}
