"""Configuration files and requests for tests, put together of their parts. Names and texts are escaped, instructions are not."""

from xml.sax.saxutils import escape, quoteattr

# Without these an attribute's line ends and tabs would be blanks.
CONTROLS = {chr(code): "&#%d;" % code for code in (9, 10, 13)}


def _attribute(name, value):
    return "" if value is None else " %s=%s" % (name, quoteattr(value, CONTROLS))


def files(*paths, attributes="", more=""):
    """Instructions that collect files, each of a path whose name may be a pattern.
    @param attributes  of each path.
    @param more        behind each path."""
    return "<file_copy_action>%s</file_copy_action>" % "".join(
        "<action><loc%s>%s</loc>%s</action>" % (attributes, escape(path), more) for path in paths)


def folder_files(path, pattern="*"):
    """Instructions that collect the files below a folder whose names fit."""
    return ("<directory_copy_action><action><loc>%s</loc><pattern>%s</pattern></action></directory_copy_action>"
            % (escape(path), escape(pattern)))


def tool(command, before="", behind="<stdout/>"):
    """Instructions that run a command; as they stand, they collect what it writes."""
    return ("<use_extern_action><action>%s<args>%s</args>%s</action></use_extern_action>"
            % (before, escape(command), behind))


def item(identity, label="", default="false", description="", platform="linux", path="/none", *, instructions=None,
         folder=None):
    """An item of a configuration; without a platform it has no instructions either, and without instructions it
    collects the path. Its folder in the bundle is the group's if it has none."""
    if instructions is None:
        instructions = files(path)
    body = "" if platform is None else "<mero><os%s>%s</os></mero>" % (_attribute("opsys", platform), instructions)
    return "<file%s%s><gui><label>%s</label></gui><default>%s</default><description>%s</description>%s</file>" % (
        _attribute("id", identity), _attribute("directoryName", folder), escape(label), default, escape(description), body)


def item_with_folder(identity, instructions, default=True):
    """An item that is known by its id alone and has a folder of that name in the bundle."""
    return item(identity, identity, "true" if default else "false", "The item " + identity, instructions=instructions,
                folder=identity)


def group(root, title, *items, folder=None):
    """A group of a configuration; without a root no wizard shows it."""
    return "<fileGroup%s%s><title>%s</title>%s</fileGroup>" % (
        _attribute("treeRootName", root), _attribute("directoryName", folder), escape(title), "".join(items))


def configuration(*groups, title="Test"):
    return '<?xml version="1.0" encoding="UTF-8"?><configure><title>%s</title>%s</configure>' % (
        escape(title), "".join(groups))


def request(*identities, comment="", entries=""):
    """A request as the wizard writes it, with more entries if they are given."""
    return ('<?xml version="1.0" encoding="UTF-8"?><request xmlns="http://schemas.xmlsoap.org/soap/encoding/" '
            'xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" '
            'xsi:schemaLocation="http://schemas.xmlsoap.org/soap/encoding/ RequestXMLSchema.xsd">%s%s'
            "<comments><![CDATA[%s]]></comments></request>") % (
                "".join('<file id="%s"></file>' % identity for identity in identities), entries, comment)
