# Completion of tallow's command line for bash.

# What may follow an option that takes a value: the words to choose from in COMPREPLY.
_tallow_value() {
    local option=$1 cur=$2
    case $option in
        --nonce) COMPREPLY=($(compgen -W 'require try off' -- "$cur")) ;;
        --color) COMPREPLY=($(compgen -W 'auto always never' -- "$cur")) ;;
        --starttls) COMPREPLY=($(compgen -W 'smtp imap pop3 ftp ldap xmpp postgres mysql' -- "$cur")) ;;
        --hash) COMPREPLY=($(compgen -W 'sha1 sha256 sha384 sha512' -- "$cur")) ;;
        --include) COMPREPLY=($(compgen -W 'none signer chain chain-root policy' -- "$cur")) ;;
        --connect | --servername) COMPREPLY=($(compgen -A hostname -- "$cur")) ;;
        --issuer | --proxy-password-file | --trust | --certs | --crl | --save-request | --save-response | --settings | \
            --from-file | --resume | --report | --metrics | --sign | --key | --pin-file | --output | -o | --request | \
            --cert | --queue-password-file | --queue-ca)
            _tallow_files "$cur"
            ;;
        --out)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -d -- "$cur")
            ;;
        --hook) COMPREPLY=($(compgen -c -- "$cur")) ;;
        --url | --proxy | --proxy-user | --timeout | --max-age | --at | --name | --warn | --crit | --jobs | --per-host | \
            --bundle | --queue | --queue-user | --run | --rate | --claim-after | --keep | --wait) COMPREPLY=() ;;
        *) return 1 ;;
    esac
}

_tallow_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$1")
}

_tallow() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    local commands='check request send verify verify-request staple enqueue worker results show store settings explain help'
    local settings='--settings --trace --help --version' trust='--trust --certs --crl' output='--json --jsonl --verbose --color'
    local queue='--queue --queue-user --queue-password-file --queue-ca'
    local network='--proxy --proxy-user --proxy-password-file --timeout' asking='--issuer --hash --nonce --no-nonce'
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        COMPREPLY=($(compgen -W "$commands --help --version" -- "$cur"))
        return
    fi
    # bash splits --nonce=try into three words.
    if [[ $cur == = ]]; then
        cur=
    elif [[ $prev == = ]]; then
        prev=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    _tallow_value "$prev" "$cur" && return
    if [[ $cur == -* ]]; then
        local options
        case $command in
            check)
                options="--from-file --jobs --per-host --bundle --resume --connect --starttls --servername --chain --url"
                options+=" --max-age --verify-chain --save-request --save-response --report --monitor --warn --crit --metrics"
                options+=" $asking $network $trust $output $settings"
                ;;
            request) options="--sign --key --pin-file --include --output $asking $settings" ;;
            send) options="--url --output $network $settings" ;;
            verify) options="--request --cert --issuer --at --max-age $trust $output $settings" ;;
            verify-request) options="$trust --json $settings" ;;
            staple)
                options="--issuer --hash --url --if-due --max-age --write-revoked --out --name --hook $network $trust"
                options+=" $output $settings"
                ;;
            enqueue) options="--from-file --issuer --run --wait $queue $settings" ;;
            worker)
                options="--jobs --per-host --rate --name --claim-after --keep --until-empty --url --max-age --verify-chain"
                options+=" $queue $asking $network $trust $settings"
                ;;
            results) options="--run --dead --remove $queue $settings" ;;
            show) options='--json --help --version' ;;
            store)
                case ${COMP_WORDS[2]} in
                    list) options='--machine --json --settings --trace --help' ;;
                    add | remove) options='--machine --settings --trace --help' ;;
                    *) options='--help --version' ;;
                esac
                ;;
            settings) options="--check --json $settings" ;;
            explain) options='--help --version' ;;
            help) options='--help' ;;
        esac
        COMPREPLY=($(compgen -W "$options" -- "$cur"))
        return
    fi
    case $command in
        store)
            if ((COMP_CWORD == 2)); then
                COMPREPLY=($(compgen -W 'list add remove' -- "$cur"))
            elif [[ ${COMP_WORDS[2]} != -* ]]; then
                local word names=0 # before this one, after the action
                for word in "${COMP_WORDS[@]:3:COMP_CWORD-3}"; do
                    [[ $word == -* ]] || ((++names))
                done
                if ((names == 0)); then
                    COMPREPLY=($(compgen -W 'ROOT CA My AddressBook Trust TrustedPeople' -- "$cur"))
                else
                    _tallow_files "$cur"
                fi
            fi
            ;;
        explain) COMPREPLY=($(compgen -W "$("${COMP_WORDS[0]}" explain 2>/dev/null | cut -d ' ' -f 2 | tr -d :)" -- "$cur")) ;;
        help) COMPREPLY=($(compgen -W "$commands" -- "$cur")) ;;
        *) _tallow_files "$cur" ;;
    esac
}

complete -F _tallow tallow
