# fish completion for clip-reverse. Files of other kinds come after the media files.
complete -c clip-reverse -f
complete -c clip-reverse -s i -r -k -d 'The clip to reverse' -a '(__fish_complete_suffix .3g2 .3gp .asf .avi .flv .gif .m2ts .m4v .mkv .mov .mp4 .mpeg .mpg .mts .mxf .ogg .ogv .rm .ts .vob .webm .wmv)'
complete -c clip-reverse -s o -r -k -d 'The file to write' -a '(__fish_complete_suffix .avi .mkv .mov .mp4 .ts)'
complete -c clip-reverse -s s -x -d 'Where the range to reverse starts, in seconds'
complete -c clip-reverse -s e -x -d 'Where the range to reverse ends, in seconds'
complete -c clip-reverse -s v -d 'Log everything'
