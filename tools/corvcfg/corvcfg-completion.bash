# Bash completion of corvcfg: commands, their options, option values, files,
# and configuration names (asked of `corvcfg schema list --names`, so the
# schema store named by --schema-db or CORV_SCHEMASTORE_DB is used).

_corvcfg_names() {
  # The schema store option given on the line so far, if any.
  local -a store=()
  local i
  for ((i = 1; i < COMP_CWORD; i++)); do
    if [[ ${COMP_WORDS[i]} == --schema-db && -n ${COMP_WORDS[i + 1]} ]]; then
      store=(--schema-db "${COMP_WORDS[i + 1]}")
    fi
  done
  local keys
  keys=$("${COMP_WORDS[0]}" "${store[@]}" schema list --names 2>/dev/null) || return
  local key names=""
  for key in $keys; do
    # Every key, its group and its component.
    names+=" $key ${key%.*} ${key%%.*}"
  done
  printf '%s\n' $names | sort -u
}

_corvcfg() {
  local cur prev
  cur=${COMP_WORDS[COMP_CWORD]}
  prev=${COMP_WORDS[COMP_CWORD - 1]}

  local global="--db --schema-db --pretty --compact -v --verbose --help -h --version"
  local commands="get ids revisions set update delete validate export import keys pending diff next-boot boot kernel-options kv schema defaults store help"

  # The command path typed so far: "next-boot set", "kv", ...
  local path="" word i skip=0
  for ((i = 1; i < COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
    if ((skip)); then
      skip=0
      continue
    fi
    case $word in
      --db | --schema-db | --id | --json | --file | --filter | --layer | --context | --output | -o)
        skip=1 ;;
      -*) ;;
      *)
        case "$path" in
          "") [[ " $commands " == *" $word "* ]] && path=$word ;;
          next-boot | boot | kernel-options | kv | schema | defaults | store)
            [[ $path != *" "* ]] && path="$path $word" ;;
        esac ;;
    esac
  done

  case $prev in
    --db | --schema-db | --file | --output | -o)
      COMPREPLY=($(compgen -f -- "$cur"))
      return ;;
    --document)
      # The document's file, or the options that give it instead.
      if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W "--json --file" -- "$cur"))
      else
        COMPREPLY=($(compgen -f -- "$cur"))
      fi
      return ;;
    --layer)
      COMPREPLY=($(compgen -W "all user vital cached" -- "$cur"))
      return ;;
    --context)
      COMPREPLY=($(compgen -W "external internal" -- "$cur"))
      return ;;
    --id | --json | --filter)
      return ;;
  esac

  local options="" subcommands="" names=0 files=0
  case $path in
    "") subcommands=$commands ;;
    get) options="--id --default --desired --next-boot --all-layers --with-defaults --without-defaults"; names=1 ;;
    ids) names=1 ;;
    revisions) options="--id"; names=1 ;;
    set) options="--id --json --file --layer --context"; names=1 ;;
    update) options="--id --json --file --context"; names=1 ;;
    delete) options="--id --all --filter --must-exist"; names=1 ;;
    validate) options="--id --document --json --file"; names=1 ;;
    export) options="--output -o"; names=1 ;;
    import) files=1 ;;
    keys) options="--json --table --values --shared"; names=1 ;;
    pending) options="--json --table"; names=1 ;;
    diff) options="--id --json --table"; names=1 ;;
    next-boot) subcommands="get set delete reset" ;;
    "next-boot get") options="--id"; names=1 ;;
    "next-boot set") options="--id --json --file"; names=1 ;;
    "next-boot delete") options="--id --all --filter"; names=1 ;;
    "next-boot reset") names=1 ;;
    boot) subcommands="confirm confirm-partial info" ;;
    "boot confirm") options="--id"; names=1 ;;
    "boot confirm-partial") options="--id --json --file"; names=1 ;;
    kernel-options) subcommands="get update" ;;
    "kernel-options update") options="--json --file" ;;
    kv) subcommands="get set list" ;;
    "kv list") options="--json --table" ;;
    schema) subcommands="list show version load" ;;
    "schema list") options="--names"; names=1 ;;
    "schema show" | "schema version") names=1 ;;
    "schema load" | "defaults load") files=1 ;;
    defaults) subcommands="load" ;;
    store) subcommands="init" ;;
    help) subcommands=${commands% help} ;;
  esac

  if [[ $cur == -* ]]; then
    COMPREPLY=($(compgen -W "$options $global" -- "$cur"))
  elif [[ -n $subcommands ]]; then
    COMPREPLY=($(compgen -W "$subcommands" -- "$cur"))
  elif ((names)); then
    COMPREPLY=($(compgen -W "$(_corvcfg_names)" -- "$cur"))
  elif ((files)); then
    COMPREPLY=($(compgen -f -- "$cur"))
  fi
}

complete -F _corvcfg corvcfg
