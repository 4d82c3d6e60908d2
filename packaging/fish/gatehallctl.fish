# fish completion for gatehallctl(1)

# The verb and, of policy, the word behind it: what stands on the line already.
function __gatehallctl_verb
    set -l found
    set -l skip no
    for word in (commandline -opc)[2..-1]
        if test $skip = yes
            set skip no
        else if contains -- $word --world --root
            set skip yes
        else if not string match -q -- '-*' $word
            set -a found $word
            test $found[1] = policy; or break
            test (count $found) = 2; and break
        end
    end
    string join \n -- $found
end

function __gatehallctl_machine
    set -l words (commandline -opc)
    for i in (seq 2 (count $words))
        switch $words[$i]
            case --world --root
                printf '%s\n' $words[$i] $words[(math $i + 1)]
            case '--world=*' '--root=*'
                echo $words[$i]
        end
    end
end

# Login names, or user ids where the word begins like one; of the machine that is meant.
function __gatehallctl_users
    set -l machine (__gatehallctl_machine)
    set -l wanted name
    string match -qr '^[0-9]' -- (commandline -ct); and set wanted id
    if test -n "$machine"
        set -l program (commandline -opc)[1]
        $program $machine --no-legend --wide can-log-in --all 2>/dev/null </dev/null |
            awk -v column=(test $wanted = id; and echo 1; or echo 2) '{ print $column }'
    else
        getent passwd | cut -d: -f(test $wanted = id; and echo 3; or echo 1)
    end
end

function __gatehallctl_groups
    test -n "$(__gatehallctl_machine)"; or getent group | cut -d: -f1
end

function __gatehallctl_user_ids
    getent passwd | cut -d: -f3
end

# The services that PAM has a file for, without those that are there to be included.
function __gatehallctl_services
    find /etc/pam.d /usr/lib/pam.d -maxdepth 1 ! -type d ! -name 'common-*' -printf '%f\n' 2>/dev/null
end

# "NAME<tab>what it is" for each line of help that begins so.
function __gatehallctl_verbs
    gatehallctl --help 2>/dev/null | sed -n '/^Verbs:/,/^$/s/^  \([a-z][a-z-]*\)  *\(.*\)/\1\t\2/p'
end

function __gatehallctl_options
    set -l found (__gatehallctl_verb)
    gatehallctl $found[1] --help 2>/dev/null | sed -n 's/^  -h, /  /; s/^  \(--[a-z-]*\)\( [^ ]*\)\?  *\(.*\)/\1\t\3/p'
end

# The values of the option before the word, by what its help calls them; fails where it takes none.
function __gatehallctl_values
    set -l words (commandline -opc)
    set -l option $words[-1]
    set -l found (__gatehallctl_verb)
    # Only what can be the name of an option becomes part of a pattern.
    string match -qr '^--[a-z-]+$' -- $option; or return 1
    set -l value (gatehallctl $found[1] --help 2>/dev/null | sed -n "s/^  $option \([^ ]*\)  .*/\1/p")
    test -n "$value"; or return 1
    switch $option:$value
        case '--world:*' '--script:*'
            __fish_complete_suffix .json
        case '--picture:*'
            __fish_complete_suffix .png
            __fish_complete_suffix .svg
        case '--*managed:*'
            __fish_complete_suffix .plist
        case '*:FILE'
            __fish_complete_path
        case '*:DIR'
            __fish_complete_directories
        case '*:SERVICE'
            __gatehallctl_services
    end
    return 0
end

# What may stand here, whatever it is.
function __gatehallctl_words
    set -l found (__gatehallctl_verb)
    set -l words (commandline -opc)
    if test "$found[1]" = switch
        if test "$words[-1]" = -switchToUserID
            __gatehallctl_user_ids
        else
            printf '%s\n' -suspend -switchToUserID --help
        end
        return
    end
    __gatehallctl_values; and return
    if string match -q -- '-*' (commandline -ct)
        __gatehallctl_options
        return
    end
    switch "$found[1]:$found[2]"
        case ':*'
            __gatehallctl_verbs
        case 'can-log-in:*' 'user:*'
            __gatehallctl_users
        case 'policy:'
            printf '%s\n' show allow deny remove set reset
        case 'expand:*' 'guid:*' policy:allow policy:deny policy:remove
            __gatehallctl_users
            __gatehallctl_groups
        case 'check:*' 'compare:*'
            __fish_complete_suffix .json
    end
end

complete -c gatehallctl -f -a '(__gatehallctl_words)'
