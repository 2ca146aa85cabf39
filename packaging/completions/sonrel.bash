# SPDX-License-Identifier: MIT
# Completion of sonrel for bash.
_sonrel() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local globals="--help --version --cache --db --no-cache-db --no-log --json --quiet --progress
        --rate --fps --grid --media-root --allow-missing --keep-days --cache-size --spool-limit"
    local word command= action=
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case $word in
            align | sync | info | conform | loudness | mix | join | peaks | plan | play | waveform | cache) [ -n "$command" ] || command=$word ;;
            ls | du | check | clean) [ "$command" = cache ] && action=$word ;;
        esac
    done

    case $previous in
        --progress) COMPREPLY=($(compgen -W "auto json none" -- "$current")); return ;;
        --mode) COMPREPLY=($(compgen -W "auto single multi" -- "$current")); return ;;
        --dither) COMPREPLY=($(compgen -W "none triangular highpass" -- "$current")); return ;;
        --retime) COMPREPLY=($(compgen -W "otio media" -- "$current")); return ;;
        --output) compopt -o filenames; COMPREPLY=($(compgen -W "sdl null" -- "$current") $(compgen -f -- "$current")); return ;;
        --speed) COMPREPLY=($(compgen -W "1 2 3 4" -- "$current")); return ;;
        --audio-from) COMPREPLY=($(compgen -W "auto audio video" -- "$current")); return ;;
        --channels) COMPREPLY=($(compgen -W "1 2 1,2 downmix" -- "$current")); return ;;
        --style) COMPREPLY=($(compgen -W "lanes overlaid rms" -- "$current")); return ;;
        --for) COMPREPLY=($(compgen -W "parallel slurm json" -- "$current")); return ;;
        --scale) COMPREPLY=($(compgen -W "linear log" -- "$current")); return ;;
        --axis) COMPREPLY=($(compgen -W "linear db" -- "$current")); return ;;
        --format) COMPREPLY=($(compgen -W "rgb888 argb32" -- "$current")); return ;;
        --cache | --stems) compopt -o filenames; COMPREPLY=($(compgen -d -- "$current")); return ;;
        --meters) [ "$command" = play ] || { compopt -o filenames; COMPREPLY=($(compgen -f -- "$current")); return; } ;;
        --db | --export | --font | -o) compopt -o filenames; COMPREPLY=($(compgen -f -- "$current")); return ;;
        --rate | --fps | --grid | --media-root | --keep-days | --cache-size | --max-size | --spool-limit | --jobs | --from | --to | --seed | --days | --buffer | --composition | --min-correlation | --zoom | --stream | --normalize | --true-peak | --target | --tolerance | --gain | --part | --shards | --pass) return ;;
        --size | --color | --background | --range) return ;;
    esac

    local options=$globals
    case $command in
        "") [[ $current == -* ]] || { COMPREPLY=($(compgen -W "align sync info conform loudness mix join peaks plan play waveform cache" -- "$current")); return; } ;;
        align) options+=" --stream --channels --min-correlation --plot --otio --overwrite" ;;
        sync) options+=" --stream --channels --reference --min-correlation --plot --otio --overwrite" ;;
        conform) options+=" --stream --channels --jobs --all-codecs --force --strict --audio-from" ;;
        info) options+=" --strict --audio-from" ;;
        loudness) options+=" --stream --channels --target --tolerance" ;;
        mix) options+=" --stream --channels -o --from --to --dither --seed --stems --composition --meters --normalize --true-peak --gain --jobs --part --fail-on-clip --strict --retime --audio-from --overwrite" ;;
        join) options+=" -o --meters --fail-on-clip --overwrite" ;;
        plan)
            [ "$previous" != plan ] || { COMPREPLY=($(compgen -W "mix conform peaks" -- "$current")); return; }
            options+=" --shards --for -o --joins --pass" ;;
        play) options+=" --stream --channels --from --reverse --speed --meters --events --strict --audio-from --output --buffer --dither --seed --overwrite" ;;
        waveform) options+=" --stream --channels -o --size --style --scale --format --color --background --range --ruler --timecode --axis --names --clips --samples --font --overwrite" ;;
        peaks) options+=" --stream --channels -o --mode --export --zoom --force --overwrite" ;;
        cache)
            if [ -z "$action" ] && [[ $current != -* ]]; then
                COMPREPLY=($(compgen -W "ls du check clean" -- "$current"))
                return
            fi
            [ "$action" = check ] && options+=" --deep"
            [ "$action" = clean ] && options+=" --days --max-size --orphans --dry-run"
            ;;
    esac
    if [[ $current == -* ]]; then
        COMPREPLY=($(compgen -W "$options" -- "$current"))
    elif [ "$command" != cache ]; then
        compopt -o filenames
        COMPREPLY=($(compgen -f -- "$current"))
    fi
}
complete -F _sonrel sonrel
