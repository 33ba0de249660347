# Completion of quorvantel for fish.
complete -c quorvantel -l choose-videos -d 'Ask for videos at once'
complete -c quorvantel -l choose-folder -d 'Ask for a folder at once'
complete -c quorvantel -l preferences -d 'Show the preferences at once'
complete -c quorvantel -l help -d 'Show how the program is called'
complete -c quorvantel -l version -d 'Show the version'
