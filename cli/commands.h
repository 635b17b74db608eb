#pragma once

#include <memory>

#include "cli/command.h"

// The subcommands of the program. Each of these functions adds one, with its options, to
// `program`, which does not outlive the command; both go together. Combinations of options that
// make no sense end the parsing with a CLI::ValidationError.

namespace importkcd {

/// `kcd import`: runs the importer once. Standard output carries the progress messages, one per
/// line, and a summary; everything else goes to standard error.
std::unique_ptr<const Command> make_import_command(CLI::App& program);

/// `kcd plan`: tells what `kcd import` with the same options would do to the server as it is now,
/// and does nothing. Ends with exit_status::changes_planned when the import would succeed and
/// change what is stored.
std::unique_ptr<const Command> make_plan_command(CLI::App& program);

/// `kcd check`: tells what is wrong in documents, without importing them. Findings go to standard
/// output, the summary too unless they are in SARIF. Ends with 1 when there is an error. Throws
/// ImportError when a labels database or a password cannot be read.
std::unique_ptr<const Command> make_check_command(CLI::App& program);

/// `kcd schema`: prints the schema of documents, which editors take for completion.
std::unique_ptr<const Command> make_schema_command(CLI::App& program);

/// `kcd export`: writes a stored database as a cube definition document, to standard output or into
/// a file. What a document cannot say goes to standard error and is no failure. Throws ImportError
/// when the server cannot be read, does not hold the database, or holds what no document may hold,
/// and when the file cannot be written.
std::unique_ptr<const Command> make_export_command(CLI::App& program);

/// `kcd convert`: turns a label-reference file into a document in one language. Standard output
/// carries the name of the document written, or the messages of a conversion that failed;
/// everything else goes to standard error. Throws ImportError when the password cannot be read, and
/// when labels that are to be checked cannot be loaded.
std::unique_ptr<const Command> make_convert_command(CLI::App& program);

/// `kcd show`: prints what a server holds, as a tree or as JSON. It changes and creates nothing.
/// Throws ImportError when the server cannot be read or does not hold the database.
std::unique_ptr<const Command> make_show_command(CLI::App& program);

/// `kcd restore`: brings a database back as it was before an import in replace or sync mode, or one
/// that was asked to keep it, or lists the kept copies. Throws ImportError when there is no such
/// copy, or when it cannot be brought back now.
std::unique_ptr<const Command> make_restore_command(CLI::App& program);

/// `kcd serve`: this process becomes the OLAP engine that answers MDX from a directory into which
/// documents were imported. Returns only by throwing ImportError, when the engine cannot be
/// started.
std::unique_ptr<const Command> make_serve_command(CLI::App& program);

/// `kcd user`: keeps the file of those who may log in to `kcd serve`, in the format of htpasswd
/// with bcrypt. Passwords come from the terminal or from standard input and are nowhere written.
/// Throws ImportError when the file cannot be read or written, when there is no such user to
/// remove, and for a name or password that cannot be one.
std::unique_ptr<const Command> make_user_command(CLI::App& program);

/// `kcd query`: asks an XMLA server one MDX question and prints the answer, as a table or as JSON.
/// Throws ImportError when there is no answer.
std::unique_ptr<const Command> make_query_command(CLI::App& program);

/// `kcd refresh`: makes a running OLAP engine forget the figures that it remembers, after the data
/// warehouse was loaded. What it serves stays as it is. Throws ImportError when it does not answer.
std::unique_ptr<const Command> make_refresh_command(CLI::App& program);

/// `kcd aggregate`: plans and makes tables in data warehouses that answer for the facts of cubes.
/// Throws ImportError when the server or a warehouse cannot be read, or a table cannot be made.
std::unique_ptr<const Command> make_aggregate_command(CLI::App& program);

}  // namespace importkcd
