# fish completion for clip-reverse.
function __clip_reverse_files -a extensions -d 'Folders, and files with one of these extensions'
    __fish_complete_path (commandline -ct) | string match --entire --regex "(?i)(?:/|\.(?:$extensions))(?:\t|\$)"
end

complete -c clip-reverse -f
complete -c clip-reverse -s i -x -d 'The clip to reverse' -a '(__clip_reverse_files "3g2|3gp|asf|avi|flv|gif|m2ts|m4v|mkv|mov|mp4|mpeg|mpg|mts|mxf|ogg|ogv|rm|ts|vob|webm|wmv")'
complete -c clip-reverse -s o -x -d 'The file to write' -a '(__clip_reverse_files "avi|mkv|mov|mp4|ts")'
complete -c clip-reverse -s s -x -d 'Where the range to reverse starts, in seconds'
complete -c clip-reverse -s e -x -d 'Where the range to reverse ends, in seconds'
complete -c clip-reverse -s v -d 'Log everything'
complete -c clip-reverse -l memory -x -d 'The size to stay below, as in 300M'
complete -c clip-reverse -l plain -d 'Leave off all that goes beyond the plain reversal'
