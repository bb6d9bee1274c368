# fish completion for clip-reverse.
function __clip_reverse_files -a extensions -d 'Folders, and files with one of these extensions'
    __fish_complete_path (commandline -ct) | string match --entire --regex "(?i)(?:/|\.(?:$extensions))(?:\t|\$)"
end

function __clip_reverse_input
    __clip_reverse_files "3g2|3gp|asf|avi|flv|gif|m2ts|m4v|mkv|mov|mp4|mpeg|mpg|mts|mxf|ogg|ogv|rm|ts|vob|webm|wmv"
end

function __clip_reverse_output
    __clip_reverse_files "avi|mkv|mov|mp4|ts"
end

complete -c clip-reverse -f
# begin of generated: options
complete -c clip-reverse -s i -x -d 'the clip to reverse' -a '(__clip_reverse_input)'
complete -c clip-reverse -s o -x -d 'the file to write: .mp4, .mov, .mkv, .avi or .ts' -a '(__clip_reverse_output)'
complete -c clip-reverse -l overwrite -x -d 'replace that file: yes, no or ask (default: yes)' -a 'ask yes no'
complete -c clip-reverse -s s -x -d 'where the range starts: seconds or 1:30.5 (default: 0)'
complete -c clip-reverse -s e -x -d 'where it ends (default: the end of the clip)'
complete -c clip-reverse -l no-sound -d 'leaves the sound out'
complete -c clip-reverse -l like-source -d 'keeps the clip\'s codecs, pixel format and channels'
complete -c clip-reverse -l copy -d 'copies pictures bit for bit; sound as PCM, ALAC, FLAC'
complete -c clip-reverse -l set -x -d 'sets a key of the output; may be given several times' -a 'target-width= target-height= rotation=0 rotation=90 rotation=180 rotation=270 rotate=0 rotate=90 rotate=180 rotate=270 sample_aspect_num= sample_aspect_den= video-codec= audio-codec= crf= qp= preset=ultrafast preset=superfast preset=veryfast preset=faster preset=fast preset=medium preset=slow preset=slower preset=veryslow preset=placebo profile= level= video-opt:NAME= audio-opt:NAME= output-color-format= video-bitrate= maxrate= bufsize= gop= thread-count= thread-type=frame thread-type=slice use-thread=0 use-thread=1 audio-bit-rate= audio-channels=source audio-channels=1 audio-channels=2 audio-channels=3 audio-channels=4 audio-channels=5 audio-channels=6 audio-channels=7 audio-channels=8 has-water-mark=0 has-water-mark=1 logo-path= water-mark-pos= water-mark-gap= water-mark-rotation=0 water-mark-rotation=90 water-mark-rotation=180 water-mark-rotation=270'
complete -c clip-reverse -l strict -d 'fails if a part of the clip is lost'
complete -c clip-reverse -l memory -x -d 'memory to stay below: 300M, 1.5G (default: the host\'s)'
complete -c clip-reverse -l plain -d 'leaves off all that goes beyond the plain reversal'
complete -c clip-reverse -s v -d 'logs everything, FFmpeg\'s lines included'
complete -c clip-reverse -l quiet -d 'logs errors only, and one line at the end'
complete -c clip-reverse -l progress -x -d 'json: the progress as JSON lines on standard error' -a 'json'
complete -c clip-reverse -l help -s h -d 'shows this text'
complete -c clip-reverse -l help=keys -d 'shows the keys of --set'
complete -c clip-reverse -l version -d 'shows the versions of the program and of FFmpeg'
# end of generated: options
