# Completes the command line of sentrelctl in fish. The tool itself says what may stand there.

function __sentrelctl_candidates
    set -l words (commandline -opc)
    set -l typed (commandline -ct)
    for line in ($words[1] __complete $words[2..] "$typed" 2>/dev/null)
        switch $line
            case ':file'
                __fish_complete_path (string replace --regex '^--[^=]*=' '' -- "$typed")
            case ':directory'
                __fish_complete_directories (string replace --regex '^--[^=]*=' '' -- "$typed")
            case '*'
                echo $line
        end
    end
end

complete --command sentrelctl --no-files --arguments '(__sentrelctl_candidates)'
