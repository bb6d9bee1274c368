# bash completion for clip-reverse; needs nothing but bash.
_clip_reverse() {
  local current=${COMP_WORDS[COMP_CWORD]} extensions name
  COMPREPLY=()
  case ${COMP_WORDS[COMP_CWORD - 1]} in
    -i) extensions='3g2|3gp|asf|avi|flv|gif|m2ts|m4v|mkv|mov|mp4|mpeg|mpg|mts|mxf|ogg|ogv|rm|ts|vob|webm|wmv' ;;
    -o) extensions='avi|mkv|mov|mp4|ts' ;;
    -s | -e | --memory) return ;;
    *)
      mapfile -t COMPREPLY < <(compgen -W '-i -o -s -e -v --memory --plain' -- "$current")
      return
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -d -- "$current")
  while IFS= read -r name; do
    if [[ ${name,,} == *.@($extensions) ]]; then COMPREPLY+=("$name"); fi
  done < <(compgen -f -- "$current")
}
complete -o filenames -F _clip_reverse clip-reverse
