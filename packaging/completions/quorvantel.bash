# Completion of quorvantel for bash.
complete -o default -W "--choose-videos --choose-folder --preferences --help --version" quorvantel
