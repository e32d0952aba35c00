"""Completion for bash."""
import rules

HEAD = """# Completion of {program} for bash.

{function}() {{
  local word=${{COMP_WORDS[COMP_CWORD]}} before=${{COMP_WORDS[COMP_CWORD - 1]}}
  local command={program} number=0 at=1 skip=false
  COMPREPLY=()

  # Which command is being written, and how many arguments it has already.
  while ((at < COMP_CWORD)); do
    if $skip; then
      skip=false
    else
      case "$command ${{COMP_WORDS[at]}}" in
"""

MIDDLE = """        *' '-*) ;;
        *) number=$((number + 1)) ;;
      esac
    fi
    at=$((at + 1))
  done

  local words='' paths=false
  case "$command $before" in
"""

TAIL = """  esac
  if $paths; then
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  else
    # Not compgen -W, which would expand what stands in the words.
    local candidate candidates
    read -r -d '' -a candidates <<<"$words"
    for candidate in "${{candidates[@]}}"; do
      if [[ $candidate == "$word"* ]]; then COMPREPLY+=("$candidate"); fi
    done
  fi
}}
complete -F {function} {program}
"""


def function_name(program):
    return "_" + program.name.replace("-", "_")


def joined(command):
    return " ".join(command.path)


def assignment(command, argument):
    """What completes the value of the argument."""
    if argument.choices:
        return f"words='{' '.join(argument.choices)}'"
    if rules.values_command(command, argument):
        return f"words=$({rules.values_command(command, argument)})"
    return "paths=true" if argument.is_path else ":"


def steps(program):
    """Cases that walk over the words before."""
    lines = [f"        '{joined(command)} {sub.name}') command='{joined(sub)}' number=0 ;;"
             for command in program.walk() for sub in command.commands]
    patterns = [pattern for command in program.walk() for pattern, _ in options_with_values(program, command)]
    return lines + ["        " + " | ".join(patterns) + ") skip=true ;;"]


def options_with_values(program, command):
    return [(f"'{joined(command)} {name}'", option)
            for option in rules.options_of(program, command) if option.takes_value for name in option.names]


def command_case(program, command):
    """The options of a command, its commands, and what its next argument may be."""
    names = [name for option in rules.options_of(program, command) for name in option.names]
    lines = [f"        '{joined(command)}')",
             f"          words='{' '.join([*names, *(sub.name for sub in command.commands)])}'"]
    for number, positional in enumerate(command.positionals):
        completed = assignment(command, positional)
        lines.append(f"          if ((number == {number})) && [[ $word != -* ]]; then {completed}; fi")
    return lines + ["          ;;"]


def completion(program):
    function = function_name(program)
    lines = [HEAD.format(program=program.name, function=function) + "\n".join(steps(program)), MIDDLE.rstrip("\n")]
    for command in program.walk():
        lines += [f"    {pattern}) {assignment(command, option)} ;;"
                  for pattern, option in options_with_values(program, command)]
    lines += ["    *)", '      case "$command" in']
    for command in program.walk():
        lines += command_case(program, command)
    lines += ["      esac", "      ;;"]
    return "\n".join(lines) + "\n" + TAIL.format(program=program.name, function=function)
