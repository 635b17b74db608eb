# Completion of kcd for fish. Commands, options and words come from the program's own help, names of
# databases from the server that the line names.

function __kcd_help
    command kcd $argv --help 2>/dev/null
end

# The names behind a heading of the help, each with what it is: __kcd_described Subcommands [COMMAND...]
function __kcd_described
    __kcd_help $argv[2..] | sed -n "/^$argv[1]:/,/^\$/s/^  \([A-Za-z][^ =]*\) *\(.*\)/\1\t\2/p"
end

# Every option with its meaning, which may stand on the next line.
function __kcd_options
    __kcd_help $argv | awk '
        /^  -/ { if (name) print name "\t" text
                 name = $1; sub(/.*,/, "", name)
                 text = ""; if (match($0, /[^ ]  +/)) text = substr($0, RSTART + RLENGTH); next }
        /^   +[^ ]/ && name { sub(/^ +/, ""); text = text $0; next }
        { if (name) print name "\t" text; name = "" }'
end

function __kcd_value_of
    __kcd_help $argv[2..] | sed -n "s/^  \(-[^ ]*,\)\{0,1\}$argv[1]\(,-[^ ]*\)\{0,1\} \([^( ][^ ]*\).*/\3/p"
end

function __kcd_databases
    command kcd show $argv[1] --json 2>/dev/null |
        sed -n 's/^      "name": "\(.*\)",\{0,1\}$/\1/p' | sed 's/\\\\\(["\\\\]\)/\1/g'
end

# Files with one of the endings, and folders on the way to them.
function __kcd_files
    set -l word (commandline -ct)
    for file in (__fish_complete_path $word)
        set -l name (string split -f1 \t -- $file)
        if string match -q '*/' -- $name
            echo $name
        else
            for ending in $argv
                string match -qi "*.$ending" -- $name; and echo $name
            end
        end
    end
end

function __kcd_server
    set -l word (commandline -ct)
    switch $word
        case 'catalogue:*'
            set -l path (string replace -r '^catalogue:' '' -- $word)
            # Not what stands beside a catalogue while it is in use.
            __fish_complete_path $path | string match -rv -- '-(lock|shm|wal)(\t|$)' |
                string replace -r '^' catalogue:
        case 'mondrian:*' 'sqlite:*'
            set -l form (string match -r '^[a-z]*:' -- $word)
            set -l path (string replace -r '^[a-z]*:' '' -- $word)
            __fish_complete_directories $path '' | string replace -r '^' $form
        case '*'
            printf '%s\n' $argv
    end
end

function __kcd_value --argument-names option value server
    switch $option
        case --server
            __kcd_server localhost catalogue: mondrian: memory:
        case --labels-server
            __kcd_server '(local)' sqlite: odbc:
        case --database
            __kcd_databases $server
        case --config
            __kcd_files toml
        case '*'
            switch $value
                case '*{*}*'
                    string match -r '{(.*)}' -- $value | tail -n 1 | string split ,
                case '*FILE*'
                    __fish_complete_path (commandline -ct)
                case '*DIRECTORY*'
                    __fish_complete_directories (commandline -ct) ''
            end
    end
end

function __kcd_positional --argument-names cmd name server
    switch $cmd:$name
        case check:FILE
            __kcd_files kcd kci
        case convert:FILE
            __kcd_files kci
        case '*:FILE'
            __kcd_files kcd
        case query:SERVER
            __fish_complete_directories (commandline -ct) ''
        case refresh:SERVER
            __kcd_server mondrian:
        case restore:SERVER
            __kcd_server localhost catalogue: mondrian:
            __kcd_databases $server
        case '*:SERVER'
            __kcd_server localhost catalogue: mondrian:
        case '*:DATABASE'
            __kcd_databases $server
        case '*:DIRECTORY'
            __fish_complete_directories (commandline -ct) ''
    end
end

function __kcd_complete
    set -l tokens (commandline -opc)
    set -l word (commandline -ct)
    set -l cmd $tokens[2]
    if test -z "$cmd"
        string match -q -- '-*' $word; and __kcd_options; or __kcd_described Subcommands
        return
    end

    # What stands in front of the word: positionals, and the server that the line names.
    set -l server localhost
    set -q KCD_SERVER; and set server $KCD_SERVER
    set -l given
    set -l i 3
    while test $i -le (count $tokens)
        set -l token $tokens[$i]
        if string match -q -- '-*=*' $token
            true
        else if string match -q -- '-*' $token
            set -l value (__kcd_value_of $token $cmd)
            if test -n "$value"
                if test $i -eq (count $tokens)
                    __kcd_value $token $value $server
                    return
                end
                set i (math $i + 1)
                test $token = --server; and set server $tokens[$i]
            end
        else
            set -a given $token
        end
        set i (math $i + 1)
    end

    set -l positionals (__kcd_described Positionals $cmd | string split -f1 \t)
    if test "$positionals[1]" = SERVER -a -n "$given[1]"
        set server $given[1]
    end
    if string match -q -- '-*' $word
        __kcd_options $cmd
    else if test -n "$(__kcd_described Subcommands $cmd)"
        __kcd_described Subcommands $cmd
    else
        set -l position (math (count $given) + 1)
        # As many as one likes of the last one: the documents of a check.
        test $cmd = check; and set position 1
        __kcd_positional $cmd "$positionals[$position]" $server
    end
end

complete -c kcd -f -a '(__kcd_complete)'
