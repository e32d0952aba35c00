"""Completion for zsh."""
import rules


def quoted(text):
    return "'" + text.replace("'", "'\\''") + "'"


def plain(text):
    """A description inside of a specification, which brackets and colons would end."""
    return text.replace("\\", "\\\\").replace("[", "\\[").replace("]", "\\]").replace(":", "\\:")


def function_name(command):
    return "_" + "__".join(command.path)


def action(command, argument):
    if argument.choices:
        return f"({' '.join(argument.choices)})"
    if rules.values_command(command, argument):
        return '{local -a found; found=(${(f)"$(' + rules.values_command(command, argument) + ')"}); compadd -a found}'
    return "_files" if argument.is_path else " "


def option_specifications(command, option):
    value = f":{plain(option.placeholder)}:{action(command, option)}" if option.takes_value else ""
    several = "*" if option.several else ""
    others = f"({' '.join(option.names)})" if len(option.names) > 1 else ""
    return [quoted(f"{several or others}{name}[{plain(option.meaning)}]{value}") for name in option.names]


def specifications(program, command):
    lines = [line for option in rules.options_of(program, command) for line in option_specifications(command, option)]
    for number, positional in enumerate(command.positionals, 1):
        lines.append(quoted(f"{number}:{plain(positional.names[0])}:{action(command, positional)}"))
    if command.commands:
        lines += [quoted("1: :->command"), quoted("*:: :->arguments")]
    return lines


def function(program, command):
    arguments = " \\\n    ".join(["_arguments -s -C", *specifications(program, command)])
    lines = [f"{function_name(command)}() {{", "  local curcontext=$curcontext state line", f"  {arguments}"]
    if command.commands:
        described = " ".join(quoted(f"{sub.name}:{sub.description}") for sub in command.commands)
        cases = "\n".join(f"        {sub.name}) {function_name(sub)} ;;" for sub in command.commands)
        lines += ["  case $state in", "    command)", f"      local -a commands=({described})",
                  "      _describe command commands", "      ;;", "    arguments)", "      case $line[1] in", cases,
                  "      esac", "      ;;", "  esac"]
    return "\n".join([*lines, "}"])


def completion(program):
    functions = [function(program, command) for command in reversed(list(program.walk()))]
    return "\n\n".join([f"#compdef {program.name}", *functions, f'{function_name(program)} "$@"']) + "\n"
