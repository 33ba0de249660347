# Completion of quorvantel-cli for fish.
set -l commands sheet info plan read
set -l start "not __fish_seen_subcommand_from $commands"
set -l any "__fish_seen_subcommand_from $commands"
set -l looking '__fish_seen_subcommand_from sheet info plan'
set -l planned '__fish_seen_subcommand_from sheet plan'
set -l made '__fish_seen_subcommand_from sheet'

complete -c quorvantel-cli -n $start -f -a sheet -d 'Make the sheets of files and folders'
complete -c quorvantel-cli -n $start -f -a info -d 'Show what is known about each source'
complete -c quorvantel-cli -n $start -f -a plan -d 'Show which pictures a sheet would take'
complete -c quorvantel-cli -n $start -f -a read -d 'Show what a sheet tells of itself'
complete -c quorvantel-cli -n $start -f -l version -d 'Show the version'
complete -c quorvantel-cli -s h -l help -d 'Show the options'

complete -c quorvantel-cli -n $any -l json -d 'Results as JSON'
complete -c quorvantel-cli -n $looking -l log -r -d 'Append trace lines to a file'
complete -c quorvantel-cli -n $looking -l verbose -d 'Trace in detail'
complete -c quorvantel-cli -n $any -l quiet -d 'Only errors on standard error'
complete -c quorvantel-cli -n $looking -l hang-timeout -x -d 'End a tool that hangs for so many seconds'
complete -c quorvantel-cli -n $looking -l no-confinement -d 'Let the tools read and write anywhere'

complete -c quorvantel-cli -n $any -l from -r -d 'Take the names that a file lists'
complete -c quorvantel-cli -n $looking -l quick -d 'The quick tool first, key pictures'
complete -c quorvantel-cli -n $looking -l strict -d 'Refuse damaged files'

complete -c quorvantel-cli -n $planned -s l -l layout -x -a 'big medium minimum mixed' -d 'Columns of the sheet'
complete -c quorvantel-cli -n $planned -s n -l count -x -d 'Number of pictures'

complete -c quorvantel-cli -n $made -s o -l output -x -a '(__fish_complete_directories)' -d 'Folder of the sheets'
complete -c quorvantel-cli -n $made -s f -l format -x -a 'jpg png' -d 'Kind of picture'
complete -c quorvantel-cli -n $made -l keep -d 'Keep the sheets that are there'
complete -c quorvantel-cli -n $made -l replace -d 'Replace the sheets that are there'
complete -c quorvantel-cli -n $made -l update -d 'Replace sheets whose source or settings have changed'
complete -c quorvantel-cli -n $made -l no-paths -d 'Leave folders out of what sheets tell'
complete -c quorvantel-cli -n $made -l print0 -d 'End the paths with NUL bytes'
complete -c quorvantel-cli -n $made -l jobs -x -d 'Sources worked on at a time'
complete -c quorvantel-cli -n $made -l shard -x -d 'One of N parts of the sources (K/N)'
complete -c quorvantel-cli -n $made -l no-timecode -d 'No time codes on the pictures'
complete -c quorvantel-cli -n $made -l caption -x -a '(__fish_append , name location date duration picture size contents timecode none)' -d 'Captions shown'
complete -c quorvantel-cli -n $made -l background -x -d 'Colour of the sheet'
complete -c quorvantel-cli -n $made -l border-color -x -d 'Colour of the borders'
complete -c quorvantel-cli -n $made -l border-size -x -d 'Thickness of the borders in points'
