"""Completion for fish."""
import rules

HEAD = """# Completion of {program} for fish.

# Whether the words so far have led to this command, and no further.
function __{function}_at
    set -l path
    set -l skip false
    for word in (commandline -opc)[2..]
        if $skip
            set skip false
        else if contains -- $word {valued}
            set skip true
        else if contains -- (string join ' ' $path $word) {paths}
            set -a path $word
        end
    end
    test "$path" = "$argv"
end

complete -c {program} -f
"""


def quoted(text):
    return "'" + text.replace("\\", "\\\\").replace("'", "\\'") + "'"


def function_name(program):
    return program.name.replace("-", "_")


def condition(program, command):
    return quoted(f"__{function_name(program)}_at {' '.join(command.path[1:])}".strip())


def value_part(command, argument):
    if argument.choices:
        return " -a " + quoted(" ".join(argument.choices))
    if rules.values_command(command, argument):
        return " -a " + quoted(f"({rules.values_command(command, argument)})")
    return ""


def option_line(program, command, option):
    line = f"complete -c {program.name} -n {condition(program, command)}"
    for name in option.names:
        line += f" -l {name[2:]}" if name.startswith("--") else f" -s {name[1:]}"
    if option.takes_value:
        line += " -rF" if option.is_path else " -x"
        line += value_part(command, option)
    return f"{line} -d {quoted(option.meaning)}"


def command_lines(program, command):
    start = f"complete -c {program.name} -n {condition(program, command)}"
    lines = [f"{start} -a {sub.name} -d {quoted(sub.description)}" for sub in command.commands]
    lines += [start + value_part(command, positional) for positional in command.positionals
              if value_part(command, positional)]
    lines += [option_line(program, command, option) for option in rules.options_of(program, command)
              if "--help" not in option.names]
    return lines


def completion(program):
    valued = sorted({name for command in program.walk() for option in command.options if option.takes_value
                     for name in option.names})
    paths = [quoted(" ".join(command.path[1:])) for command in program.walk() if command is not program]
    lines = [HEAD.format(program=program.name, function=function_name(program), valued=" ".join(valued),
                         paths=" ".join(paths) or "''"),
             f"complete -c {program.name} -s h -l help -d 'Print the help'"]
    for command in program.walk():
        lines += command_lines(program, command)
    return "\n".join(lines) + "\n"
