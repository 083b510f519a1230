# Bash completion for viewgeo: commands, subcommands and their options.
_viewgeo() {
    local cur prev words cword
    _init_completion || return
    local camera="--size --hfov --vfov --pan --tilt --rot --lens --dewarp"
    local global="--json --jsonl --csv --raw --input --help --version"
    local command="" sub="" i
    for ((i = 1; i < cword; i++)); do
        case "${words[i]}" in
        --input) ((i++)) ;;  # its FILE names no command
        -*) ;;
        *) if [[ -z $command ]]; then command=${words[i]}; elif [[ -z $sub ]]; then sub=${words[i]}; fi ;;
        esac
    done
    case "$prev" in
    --lens) COMPREPLY=($(compgen -W "rectilinear equidistant sine" -- "$cur")); return ;;
    --rot) COMPREPLY=($(compgen -W "0 90 180 270 360" -- "$cur")); return ;;
    --input | --svg | --png | --over) _filedir; return ;;
    esac
    local options=""
    case "$command" in
    "" | help)
        COMPREPLY=($(compgen -W "to-ptz to-pixel pan-delta great-circle zoom-fov magnification wrap-pan mo-offset
            mo-compensate grid ovista remote batch help $global" -- "$cur"))
        return ;;
    to-ptz) options="$camera --rel --fixed --precise" ;;
    to-pixel) options="$camera --fixed --precise" ;;
    grid) options="$camera --svg --png --over --step" ;;
    mo-offset | mo-compensate) options="--zoom --pan --tilt --remove --optical --mechanical --pan-steps --tilt-steps" ;;
    ovista)
        if [[ -z $sub ]]; then
            COMPREPLY=($(compgen -W "show set save backup restore to-ptz to-pixel" -- "$cur")); return
        fi
        options="--size --rot --mirror --rel --precise --defaults-if-missing" ;;
    remote)
        if [[ -z $sub ]]; then
            COMPREPLY=($(compgen -W "set-center get-center point zoom to-pixel panorama" -- "$cur")); return
        fi
        options="$camera --status --auto" ;;
    esac
    COMPREPLY=($(compgen -W "$options $global" -- "$cur"))
}
complete -F _viewgeo viewgeo
