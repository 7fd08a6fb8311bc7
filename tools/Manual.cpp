#include "tools/Manual.h"

#include <algorithm>
#include <array>

namespace quarry::tools {

namespace {

constexpr OptionText kHelp{"--help", "", "", "Say how to use the command, and end."};

constexpr std::array kProgramOptions{
    kHelp,
    OptionText{"--version", "", "", "Print the version, and end."},
};

constexpr std::array kDocumentOptions{
    OptionText{
        "--timeout", "SECONDS", "",
        "Give up on a file after this time, 120 seconds by default; fractions count, 0 means no limit. The helper "
        "is killed and the next file gets a new one."},
    OptionText{
        "--memory", "SIZE", "",
        "Kill the helper when its resident memory, with that of its workers, exceeds this size. SIZE is a number "
        "of bytes, with K, M, G or T for powers of 1024: 512M, 1.5G. Looked at some twenty times a second, and "
        "held by a control group where the system hands you one; no limit by default."},
    OptionText{"--shared", "", "",
               "Reuse the helper that is registered in your registry folder, if there is one; one that has to be "
               "launched registers there and ends with the command. Otherwise every command has a helper and a "
               "registry folder of its own. Not together with --memory."},
};

constexpr OptionText kDataForm{
    "--data", "FORM", "summary base64",
    "How data appear: 'summary' (the default) as {\"bytes\": N, \"type\": TYPE}, 'base64' in full as "
    "{\"base64\": TEXT}."};

constexpr std::array kMetadataOptions{kDataForm, kHelp};

constexpr std::array kRichTextOptions{
    OptionText{"-o", "OUT.rtfd", "", "Write the text as an RTFD package, too. What is there under that name goes."},
    kDataForm,
    kHelp,
};

constexpr std::array kWriteRtfdOptions{
    OptionText{"-o", "OUT.rtfd", "", "The package to write. What is there under that name goes."},
    kHelp,
};

constexpr std::array kHtmlOptions{
    OptionText{"-o", "OUT.rtfd", "", "The package to write. What is there under that name goes."},
    OptionText{"--base-url", "URL", "", "What addresses in the page are relative to: http, https, feed or file."},
    OptionText{"--allow-remote", "", "",
               "Let the page load from anywhere. Without, it loads files and what this machine and its own network "
               "have."},
    OptionText{"--charset", "NAME", "", "The character set, whatever the page declares."},
    kHelp,
};

constexpr std::array kPageOptions{
    OptionText{"--url", "URL", "", "The page's own address: addresses in the page become absolute."},
    kHelp,
};

constexpr std::array kFeedOptions{
    OptionText{"--html", "", "", "Print the feed as a page."},
    OptionText{"--url", "URL", "", "The feed's own address, which links that begin with a slash are relative to."},
    OptionText{"--style-sheet", "FILE", "", "With --html, the page contains this style sheet."},
    kHelp,
};

constexpr std::array kImageOptions{
    OptionText{"--text", "", "", "Add the text and the information of PDF and PostScript."},
    OptionText{"--spotlight", "", "", "Let the importers give the text of PDF files."},
    OptionText{"--thumbnail", "OUT", "", "Write the thumbnail into a file, as TIFF."},
    kDataForm,
    kHelp,
};

constexpr std::array kPosterOptions{
    OptionText{"--thumbnail", "OUT", "", "Write the picture into a file, as TIFF."},
    kDataForm,
    kHelp,
};

constexpr std::array kPdfOptions{
    OptionText{"--attributed", "", "", "Give the text with its fonts and colours, as RTFD data."},
    OptionText{"-o", "OUT.rtfd", "", "With --attributed, write the text as a package."},
    kDataForm,
    kHelp,
};

constexpr std::array kPdfDataOptions{
    OptionText{"-o", "OUT", "", "The file to write."},
    kDataForm,
    kHelp,
};

constexpr std::array kHelpOnly{kHelp};

constexpr std::array kImporterOptions{
    OptionText{"--json", "", "", "Print one JSON array, an object with \"path\" and \"types\" for each importer."},
    kHelp,
};

constexpr OptionText kHelpers{"-j", "N", "",
                              "How many helpers work at the same time; by default one for each processor."};
constexpr OptionText kOperation{
    "--op", "NAME", "document metadata supports pdf image pdf-data poster richtext webarchive html",
    "What is asked about each document. By default 'document': its metadata, with the text that 'quarry text' prints. "
    "Else the name of the command that asks it, or the operation's selector."};
constexpr OptionText kInclude{"--include", "PATTERN", "",
                              "Take only the files of folders whose names match; may be repeated.", true};
constexpr OptionText kExclude{
    "--exclude", "PATTERN", "",
    "Leave out files, and folders with all that is in them; may be repeated. A pattern with a slash is "
    "matched against the path below the folder that was named, one without against the name.",
    true};
constexpr OptionText kCompress{"--compress", "FORM", "gzip zstd", "Compress these files."};
constexpr OptionText kShardSize{"--shard-size", "SIZE", "",
                                "Begin a new one after so many bytes of results, 256M by default."};
constexpr OptionText kBatchTimeout{
    "--timeout", "SECONDS", "",
    "Kill a helper that takes longer over a document, 60 seconds by default; fractions count, 0 means no "
    "limit."};
constexpr OptionText kBatchMemory{"--memory", "SIZE", "",
                                  "Kill a helper that holds more resident memory, with its workers, 1G by default."};
constexpr OptionText kRenew{"--renew", "N", "", "Replace a helper after N documents, 1000 by default; 0: never."};

constexpr std::array kBatchOptions{
    kHelpers,
    kOperation,
    kInclude,
    kExclude,
    OptionText{"--ordered", "", "", "Give the results in the order of the input."},
    OptionText{"--journal", "FILE", "",
               "Keep in FILE what is done. Started again with the same journal, the batch leaves out what is done and "
               "whose size and time have not changed."},
    OptionText{"--output", "DIR", "",
               "Write the results to DIR/results-00001.jsonl, results-00002.jsonl ... instead of standard output."},
    kCompress,
    kShardSize,
    OptionText{"--files", "", "",
               "Put thumbnails, PDF data and RTFD packages into files below DIR/files, and their names into the "
               "results."},
    kBatchTimeout,
    kBatchMemory,
    kRenew,
    OptionText{"--quiet", "", "", "Say nothing of how far the batch is, and no summary."},
    kDataForm,
    kHelp,
};

constexpr OptionText kJob{"--job", "NAME", "", "Which job; 'default' without."};
constexpr OptionText kServer{"--server", "URL", "",
                             "The message server, nats://HOST:PORT or tls://HOST:PORT, several separated by commas; "
                             "$QUARRY_QUEUE without, else nats://127.0.0.1:4222."};
constexpr OptionText kCredentials{"--credentials", "FILE", "", "Who we are: a file of credentials."};
constexpr OptionText kAuthority{"--ca", "FILE", "", "Use TLS, and trust the certificates of this file."};
constexpr OptionText kWait{"--wait", "SECONDS", "",
                           "How long a server that is not there is tried again, 30 seconds by default."};

constexpr std::array kSubmitOptions{
    kOperation,
    kInclude,
    kExclude,
    OptionText{"--shard", "N", "",
               "The files hold requests, as lines of JSON, and every worker can read them: submit references to N "
               "lines each."},
    kJob,
    kServer,
    kCredentials,
    kAuthority,
    kWait,
    kHelp,
};

constexpr std::array kWorkerOptions{
    kHelpers,
    kOperation,
    OptionText{"--output", "DIR", "", "Keep the results in this folder instead of the job's stream of results."},
    kCompress,
    kShardSize,
    kBatchTimeout,
    kBatchMemory,
    kRenew,
    OptionText{"--until-empty", "", "", "End when there is no work any more."},
    OptionText{"--quiet", "", "", "No summary at the end."},
    kJob,
    kServer,
    kCredentials,
    kAuthority,
    kWait,
    kDataForm,
    kHelp,
};

constexpr std::array kQueueOptions{
    OptionText{"--watch", "", "", "Go on: a line every two seconds, or collect for ever."},
    OptionText{"--output", "DIR", "",
               "Collect the results into DIR/results-00001.jsonl ..., each of them once, until there is no work any "
               "more."},
    kCompress,
    kShardSize,
    kJob,
    kServer,
    kCredentials,
    kAuthority,
    kWait,
    kHelp,
};

constexpr std::array kApplyOptions{
    OptionText{"--jsonl", "", "",
               "Answer calls: one JSON object a line on standard input, one answer a line on standard output."},
    OptionText{"--list", "", "", "Print every operation with its arguments and its result, one a line."},
    kHelp,
};

constexpr std::array kCommands{
    CommandText{"metadata", "FILE...", "Print the attributes and the text of files as JSON",
                "Prints what the importer of a file's content type reports about it: title, authors, dates, text and "
                "whatever else it knows, one JSON object a file with the attributes in the order in which the importer "
                "set them.\n\n"
                "A single file gives an indented object. Several files give one line each, in the order of the "
                "arguments. A file without result gives null, so that there is always exactly one result for each "
                "argument. When the file could not be opened, or the helper failed on it, standard error says so; a "
                "null without a message means that no importer had anything to report.",
                true, kMetadataOptions},
    CommandText{"supports", "FILE...", "Say whether an importer can read files",
                "Prints YES when the first importer that declares the file's content type can be loaded and offers "
                "the importer interface, else NO. Several files give one line each, the answer, a tab and the file "
                "as it was named.",
                true, kHelpOnly},
    CommandText{
        "image", "FILE", "Look at a picture",
        "Prints what a picture says of itself, with a thumbnail of at most 256 by 256 pixels (TIFF data): for "
        "pictures of pixels their \"Properties\"; for drawings (SVG, PDF, PostScript), and with --text for all, "
        "the \"Size\" in points, the \"PixelSize\" and whether there is transparency (\"Alpha\"). A JPEG that "
        "keeps a thumbnail is shown by it. null for a file that is no picture.",
        true, kImageOptions},
    CommandText{"pdf", "FILE", "Read the text and information of a PDF",
                "Prints the text of a PDF document (\"String\"), or that it is \"Locked\", with its \"PageCount\" and "
                "what it says of itself. Text takes at most about a minute; what is not read by then is left out. null "
                "for a file that is no PDF.",
                true, kPdfOptions},
    CommandText{
        "poster", "FILE", "Look at a movie",
        "Prints the \"Duration\" of a movie or sound file in seconds, its \"Size\" in pixels and, as its "
        "\"Thumbnail\" (TIFF data), the picture from its middle, at 15 seconds at most, else the one that stands "
        "for it. A file that is no movie has the duration 0 and no picture.",
        true, kPosterOptions},
    CommandText{"pdf-data", "FILE", "Write the PDF content of a file",
                "Writes the document of a PDF file or of a PDF bundle as it is, and that of a PostScript file as it is "
                "made by Ghostscript. null for everything else.",
                true, kPdfDataOptions},
    CommandText{"richtext", "FILE", "Read a document as rich text",
                "Prints, as one JSON object, what the helper makes of the document: \"Rtfd\", the text with its "
                "formatting and attachments as RTFD data, and \"DocumentAttributes\", what the document says of "
                "itself. It reads RTF, RTFD packages and data, plain text, and, through LibreOffice, Word documents "
                "(doc, docx, and the XML forms) and OpenDocument texts (odt, fodt). What a document is is told from "
                "its bytes; one that is none of these gives null.",
                true, kRichTextOptions},
    CommandText{
        "write-rtfd", "DATA", "Write RTFD data as a package",
        "Writes RTFD data, such as \"Rtfd\" of 'richtext' holds, as a package: a folder with the text in TXT.rtf "
        "and the attachments beside it. Prints YES when it was written, else NO.",
        true, kWriteRtfdOptions},
    CommandText{"html", "FILE", "Write a page as an RTFD package",
                "Lays a page out with the web engine and writes it as rich text with its pictures. The page comes from "
                "a file, or from standard input ('-'). It has 15 seconds to load; what did not come by then is left "
                "out. Prints YES when the package was written, else NO.",
                true, kHtmlOptions},
    CommandText{"text", "FILE...", "Print the text of files",
                "Prints the text of any file as UTF-8: the first of these that gives some. The text that the importer "
                "of the file's type reports; that of a PDF (or PostScript) document; that of the document read as rich "
                "text, as 'richtext' does, which lays pages and web archives out; that of a web archive, as "
                "'webarchive' has it.",
                true, kHelpOnly},
    CommandText{"webarchive", "FILE...", "Print the text of web archives",
                "Prints what a web archive holds: \"String\", the text of the page and then of its frames, each after "
                "two line feeds; \"Source\", the page's markup; \"URL\", its address. A file that is no web archive "
                "gives {}. A single file gives an indented object, several one line each.",
                true, kHelpOnly},
    CommandText{
        "page", "FILE", "Say what a page is about, and what it refers to",
        "Prints a JSON object about an HTML page, from a file or from standard input ('-'): \"title\", "
        "\"description\", \"date\", \"canonicalURL\", \"baseURL\" (of its base element), \"favIcon\", \"links\", "
        "\"images\", \"feeds\" (that it offers), and whether it is itself a feed (\"isFeed\"), holds one main "
        "article (\"isArticle\"), or is a server's notice of an error (\"isErrorPage\"). null for an empty file.",
        false, kPageOptions},
    CommandText{
        "feed", "FILE", "Print the items of a feed, or the feed as a page",
        "Prints the items of an RSS, RDF or Atom feed, from a file or from standard input ('-'), as a JSON "
        "array: \"title\", \"description\", \"content\", \"author\", \"date\" (as it is written), "
        "\"calendarDate\" (where that can be read), \"link\", \"tags\" and \"enclosures\". Malformed feeds give the "
        "items that are complete; null for what is no feed.",
        false, kFeedOptions},
    CommandText{
        "batch", "[PATH...]", "Read many documents with many helpers",
        "Reads files, and all files in folders, and prints one JSON object a line for each: \"id\" (its number), "
        "\"path\", \"status\", \"attempts\", \"milliseconds\", \"result\", and \"error\" where something failed. "
        "Without a path, requests come as JSON lines on standard input: {\"path\": PATH}, and as one likes \"id\", "
        "which comes back, \"op\", as with --op, and what the operation takes besides: \"attributed\", "
        "\"stringFromPDF\", \"canUseSpotlight\", \"baseURL\", \"charset\", \"allowRemoteRequest\", \"file\".\n\n"
        "A helper that crashes, takes more than 60 seconds or grows beyond 1 GB over a document (--timeout and "
        "--memory "
        "say otherwise) is killed with its workers and replaced, and the document is tried once more. Statuses are ok, "
        "empty (no text where text was asked), locked, none (nil or NO), missing (it cannot be opened), timeout, "
        "crash, "
        "oom and error.\n\n"
        "An interrupt lets the documents that are being read finish; a second one stops at once. With a journal the "
        "batch "
        "goes on where it was, even after it was killed.",
        false, kBatchOptions},
    CommandText{
        "submit", "[PATH...]", "Put documents into a job of the queue",
        "Puts a request for each file, and for each file in folders, into a job on a message server (NATS with "
        "JetStream), or, without a path, the requests that come as JSON lines on standard input, as for 'batch'. "
        "The paths must mean the same to the workers. What is submitted twice within an hour is there once.",
        false, kSubmitOptions},
    CommandText{"worker", "", "Work on a job of the queue",
                "Takes requests off a job, carries them out with several helpers, and puts the results into the job's "
                "stream of "
                "results, or into a folder. A request leaves the job when its result is on a disk, and not before: "
                "whatever ends, "
                "a document, a helper, the worker, the machine or the server, its work is done by somebody. Documents "
                "that crash, "
                "hang or grow twice have their results in the job's stream of dead ones, too.",
                false, kWorkerOptions},
    CommandText{"queue", "", "Say how a job stands, or collect its results",
                "Prints how many messages of a job are pending, running and redelivered, and how many results and dead "
                "ones there are. Ends with status 1 when there are dead ones.",
                false, kQueueOptions},
    CommandText{"importers", "", "List the importers and their content types",
                "Prints the importer table in the order in which importers are asked: the path of each bundle, and "
                "below it, indented, the content types that it declares. No importer is loaded.",
                false, kImporterOptions},
    CommandText{"importer", "new NAME | check BUNDLE [FILE]", "Begin an importer, or say what is wrong with one",
                "With 'new', writes a project for an importer in C into the new folder NAME; it builds against the "
                "installed header and reads files with the extension NAME in lower case.\n\n"
                "With 'check', looks at a bundle and prints what is in order and what is not: its Info.plist, its "
                "types, its executable, its factories and its interface, and with a sample file of one of its types "
                "the attributes that it fills. Its code runs in a process of its own, for a minute at most. Ends with "
                "status 1 when there is a problem.",
                false, kHelpOnly},
    CommandText{
        "apply", "[OPERATION [ARG...]]", "Apply an operation of the library to text or data",
        "Calls an operation of the library by its documented name, colons included, without a helper. Arguments "
        "are the words that follow; when they are one short, the first argument is standard input, as it is "
        "(a line feed at its end counts). Strings and data are taken literally, everything else is JSON: true, "
        "3, [0, 5], [\"a\", \"b\"]. YES and NO stand for true and false.\n\n"
        "A string is printed as it is with a line feed after it, data as they are, and everything else as "
        "JSON.\n\n"
        "With --jsonl a call is {\"op\": NAME, \"args\": [...]}, with the receiver first, and its answer "
        "{\"result\": VALUE} or {\"error\": TEXT}; an \"id\" comes back in the answer. Data are "
        "{\"base64\": TEXT}, dates {\"date\": SECONDS} since 1970, ranges [LOCATION, LENGTH], with null as "
        "the location of none; nil is null. Strings are UTF-16: a lone surrogate is written \\uD800 and "
        "survives.",
        false, kApplyOptions, true},
    CommandText{"doctor", "", "Say what is installed, and what is missing",
                "Looks at everything that the other commands rely on: the helper and the importer lister, the engines "
                "with their versions, the folders of importers, the registry folder and a helper registered there, and "
                "the features of the system. Ends with status 1 when something is missing without which documents "
                "cannot be read.",
                false, kHelpOnly},
};

constexpr std::array kExitStatus{
    TermText{"0", "Every file gave a result (YES for 'supports' and 'write-rtfd')."},
    TermText{"1", "A file gave none: null, NO, {}, or it could not be opened."},
    TermText{"2", "The command line was wrong, or the results could not be written."},
    TermText{"3",
             "The helper crashed, ran out of time or memory, or could not be reached. Of several files the highest "
             "status counts; after a failure the next file gets a new helper."},
};

constexpr std::array kEnvironment{
    TermText{"QUARRY_LOG",
             "LEVEL[,FILE]: the least important messages that the command and its helper log (error, warning, info, "
             "debug or none), and where to. Without a file they go to the journal, else to standard error."},
    TermText{"QUARRY_RUNTIME_DIR",
             "Your registry folder, where --shared looks for a helper. By default $XDG_RUNTIME_DIR/quarry, else "
             "/run/user/UID/quarry, else /tmp/quarry-UID."},
    TermText{"QUARRY_QUEUE",
             "The message server of 'submit', 'worker' and 'queue', with a user and a password in it where "
             "it asks for them."},
    TermText{"QUARRY_LIBREOFFICE", "The folder of LibreOffice's programs, when it is not in one of the usual places."},
    TermText{"TMPDIR",
             "Where the helper's workers have their private folders, which are removed with them; /tmp by default."},
    TermText{"XDG_DATA_HOME",
             "Where your own importers are: $XDG_DATA_HOME/quarry/Spotlight, by default "
             "~/.local/share/quarry/Spotlight."},
};

constexpr std::array kFiles{
    TermText{"PREFIX/libexec/quarry/quarry-helper", "The helper, found from the place of the command itself."},
    TermText{"PREFIX/lib/quarry/Spotlight", "The importers that come with the system."},
    TermText{"/opt/quarry/Spotlight", "Importers for all users of the machine."},
};

constexpr std::array kExamples{
    TermText{"quarry metadata report.pdf", "Everything that is known about one document."},
    TermText{"quarry metadata --timeout 10 --memory 512M *.pdf > all.jsonl",
             "A line for each file, none of which may take long or grow large."},
    TermText{"quarry batch --journal done --output results --compress zstd ~/Documents",
             "Everything in a folder; started again after whatever happened, what is left of it."},
    TermText{"quarry richtext letter.docx -o letter.rtfd", "A letter as rich text, with its pictures."},
    TermText{"quarry feed --html --style-sheet feeds.css news.rss > news.html", "A feed to look at."},
    TermText{"quarry apply stringByRemovingMultipleSpacesAndFeeds: YES < notes.txt",
             "A text with every run of white space made one space."},
};

constexpr Manual kManual{
    "quarry",
    "read documents through a helper process",
    "Reads the text and the attributes of documents. The work is done by a helper process that each command starts for "
    "itself, so that a document or an importer that crashes, hangs or grows without bound costs that one file and "
    "nothing else. Whatever way the command ends, its helper ends with it.\n\n"
    "File names are taken as they are, in whatever encoding; a name that begins with a dash goes after '--'.",
    kCommands,
    kProgramOptions,
    kDocumentOptions,
    kExitStatus,
    kEnvironment,
    kFiles,
    kExamples,
};

}  // namespace

const Manual& manual() noexcept {
    return kManual;
}

const CommandText* findCommand(std::string_view name) noexcept {
    const auto command = std::ranges::find(kCommands, name, &CommandText::name);
    return command == kCommands.end() ? nullptr : command;
}

}  // namespace quarry::tools
