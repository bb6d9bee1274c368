# bash completion for clip-reverse; needs nothing but bash.
_clip_reverse() {
  local current=${COMP_WORDS[COMP_CWORD]} extensions name word
  local -i at=COMP_CWORD-1
  local -a values
  COMPREPLY=()
  # bash takes "--set preset=fast" for four words. After the sign stands a value, of an option or of a
  # key, which is marked here by the sign.
  if [[ $current == = ]]; then
    current=''
    at+=1
  fi
  word=${COMP_WORDS[at]}
  if [[ $word == = ]]; then
    word=${COMP_WORDS[at - 1]}
    [[ $word == -* ]] || word="=$word"
  fi
  case $word in
    -i) extensions='3g2|3gp|asf|avi|flv|gif|m2ts|m4v|mkv|mov|mp4|mpeg|mpg|mts|mxf|ogg|ogv|rm|ts|vob|webm|wmv' ;;
    -o) extensions='avi|mkv|mov|mp4|ts' ;;
  esac
  if [[ -n ${extensions-} ]]; then
    mapfile -t COMPREPLY < <(compgen -d -- "$current")
    while IFS= read -r name; do
      if [[ ${name,,} == *.@($extensions) ]]; then COMPREPLY+=("$name"); fi
    done < <(compgen -f -- "$current")
    return
  fi
  # begin of generated: words
  case $word in
    --overwrite) values=(ask yes no) ;;
    --set) values=(target-width= target-height= rotation= rotate= sample_aspect_num= sample_aspect_den= video-codec= audio-codec= crf= qp= preset= profile= level= video-opt:NAME= audio-opt:NAME= output-color-format= video-bitrate= maxrate= bufsize= gop= thread-count= thread-type= use-thread= audio-bit-rate= audio-channels= has-water-mark= logo-path= water-mark-pos= water-mark-gap= water-mark-rotation=) ;;
    --progress) values=(json) ;;
    =rotation) values=(0 90 180 270) ;;
    =rotate) values=(0 90 180 270) ;;
    =preset) values=(ultrafast superfast veryfast faster fast medium slow slower veryslow placebo) ;;
    =thread-type) values=(frame slice) ;;
    =use-thread) values=(0 1) ;;
    =audio-channels) values=(source 1 2 3 4 5 6 7 8) ;;
    =has-water-mark) values=(0 1) ;;
    =water-mark-rotation) values=(0 90 180 270) ;;
    -i | -o | -s | -e | --memory | =*) values=() ;;
    *) values=(-i -o --overwrite -s -e --no-sound --like-source --copy --set --strict --memory --plain -v --quiet --progress -h --help --help=keys --version) ;;
  esac
  # end of generated: words
  mapfile -t COMPREPLY < <(compgen -W "${values[*]}" -- "$current")
  # A key goes on with its value.
  if [[ ${COMPREPLY[0]-} == *= ]]; then compopt -o nospace 2>/dev/null || true; fi
}
complete -o filenames -F _clip_reverse clip-reverse
