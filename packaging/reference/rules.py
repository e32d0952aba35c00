"""What the shells need to know, and the help does not say."""

# The settings that are stored, in the way in which the program lists them.
STORED_SETTINGS = "{program} defaults list 2>/dev/null | sed -n 's/^\\([^ ]*\\) = .*/\\1/p'"


def values_command(command, argument):
    """A command line that prints the values of the argument, one a line; empty when there is none."""
    if command.path[1:2] == ["defaults"] and argument.names == ["key"]:
        return STORED_SETTINGS.format(program=command.path[0])
    return ""


def options_of(program, command):
    """The options that may stand behind the command. tevanto-phone takes those of the program there too."""
    if command is program:
        return program.options
    shared = [option for option in program.own_options() if "--version" not in option.names]
    return command.options + (shared if program.name == "tevanto-phone" else [])
