#!/usr/bin/env bash
# Checks that the C++ sources (tracked and untracked, not ignored) follow
# .clang-format. Build trees and generated folders are skipped.
#   bash scripts/check-format.sh          check (exit 1 on any difference)
#   bash scripts/check-format.sh --fix    reformat in place
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

mode=check
[[ "${1:-}" == "--fix" ]] && mode=fix

clang_format=${CLANG_FORMAT:-clang-format}
if ! command -v "$clang_format" >/dev/null 2>&1; then
    echo "check-format: $clang_format not found (bash scripts/install-deps.sh installs it)" >&2
    exit 1
fi

patterns=('*.h' '*.hpp' '*.cpp' '*.cc' '*.cxx')
if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
    mapfile -t files < <(git ls-files --cached --others --exclude-standard -- "${patterns[@]}")
else
    mapfile -t files < <(find . -type f \( -name '*.h' -o -name '*.hpp' -o -name '*.cpp' -o -name '*.cc' \
        -o -name '*.cxx' \) -not -path './.git/*' | sed 's|^\./||')
fi

selected=()
for file in "${files[@]}"; do
    [[ -f "$file" ]] || continue # deleted in the work tree
    case "/$file" in
        /build*/* | */generated/*) continue ;;
    esac
    selected+=("$file")
done

if [[ ${#selected[@]} -eq 0 ]]; then
    echo "check-format: no C++ sources"
    exit 0
fi
if [[ $mode == fix ]]; then
    printf '%s\0' "${selected[@]}" | xargs -0 "$clang_format" -i
    echo "check-format: formatted ${#selected[@]} files"
    exit 0
fi
if ! printf '%s\0' "${selected[@]}" | xargs -0 "$clang_format" --dry-run -Werror; then
    echo "check-format: files above differ from .clang-format (fix: bash scripts/check-format.sh --fix)" >&2
    exit 1
fi
echo "check-format: ${#selected[@]} files OK"
