// hearth xml: documents, as the library's parser takes them.

#include "hearth/xml.h"

#include <sstream>

#include "tool.h"

namespace hearth::tool {

namespace {

struct XmlOptions {
    std::string file;
    std::string path;
    std::string value;
    std::string attribute;
    bool create = false;
};

struct FreeTree {
    void operator()(XML_Node *node) const { cl_xmlFreeNode(node); }
};
using Tree = std::unique_ptr<XML_Node, FreeTree>;

void expect_ok(const std::string &what, int32_t result) {
    if (result != XML_RESULT_OK) {
        throw Failure(what, kXmlResults, result,
                      result == XML_RESULT_OPEN ? kExitNotFound : kExitFailed);
    }
}

Tree parse(const std::string &file) {
    XML_Node *tree = nullptr;
    expect_ok("cannot read " + file, cl_xmlParseFile(file.c_str(), &tree));
    return Tree(tree);
}

[[noreturn]] void fail_to_find(const XmlOptions &options) {
    throw Failure(options.file + " has no " + options.path, kXmlResults, XML_RESULT_NOT_FOUND,
                  kExitNotFound);
}

void run_get(const XmlOptions &options) {
    Tree tree = parse(options.file);
    // No text of the document is longer than the document.
    std::string value(read_file(options.file).size() + 1, '\0');
    if (ZEX_XML_GetNodeOrAttr_Node(tree.get(), options.path.c_str(), value.data()) != 0) {
        fail_to_find(options);
    }
    value.resize(value.find('\0'));
    show({{"path", options.path}, {"value", printable(value)}}, value + "\n");
}

// The node of a dotted path, made as far as it is missing.
XML_Node *make_path(XML_Node *root, const std::string &path) {
    std::istringstream names(path);
    std::string name;
    std::getline(names, name, '.');
    XML_Node *node = cl_xmlFindNodeByName(root, name.c_str());
    while (node != nullptr && std::getline(names, name, '.')) {
        XML_Node *next = cl_xmlGetNodeChildByName(node, name.c_str());
        if (next == nullptr) {
            expect_ok("cannot make " + name,
                      cl_xmlCreateNode(XML_NODE_ELEMENT, nullptr, name.c_str(), nullptr, &next));
            expect_ok("cannot make " + name, cl_xmlAppendChildNode(node, next));
        }
        node = next;
    }
    return node;
}

void set_attribute(XML_Node *node, const XmlOptions &options) {
    int32_t result = cl_xmlSetAttr(node, nullptr, options.attribute.c_str(), options.value.c_str());
    if (result == XML_RESULT_NOT_FOUND && options.create) {
        result = cl_xmlAddAttr(node, nullptr, options.attribute.c_str(), options.value.c_str());
    }
    if (result == XML_RESULT_NOT_FOUND) {
        fail_to_find(options);
    }
    expect_ok("cannot change " + options.attribute, result);
}

void run_set(const XmlOptions &options) {
    Tree tree = parse(options.file);
    XML_Node *node = options.create ? make_path(tree.get(), options.path)
                                    : cl_xmlFindNodeByName(tree.get(), options.path.c_str());
    if (node == nullptr) {
        fail_to_find(options);
    }
    if (!options.attribute.empty()) {
        set_attribute(node, options);
    } else {
        expect_ok("cannot change " + options.path,
                  cl_xmlSetNode(node, nullptr, nullptr, options.value.c_str()));
    }
    expect_ok("cannot write " + options.file,
              cl_xmlTransformFile(tree.get(), options.file.c_str()));
    show({{"path", options.path}, {"value", options.value}}, "");
}

size_t attributes_of(const XML_Node *node) {
    size_t count = 0;
    for (const XML_Node *at = node->first_attribute; at != nullptr; at = at->next_sibling) {
        count++;
    }
    return count;
}

void run_check(const XmlOptions &options) {
    Tree tree = parse(options.file);
    size_t elements = 0;
    size_t attributes = 0;
    for (const XML_Node *node = tree.get(); node != nullptr; node = ZEX_XML_Iterator(node)) {
        elements++;
        attributes += attributes_of(node);
    }
    show({{"file", options.file},
          {"root", tree->name == nullptr ? "" : printable(tree->name)},
          {"elements", elements},
          {"attributes", attributes}});
}

}  // namespace

void add_xml_commands(Command app) {
    Command xml = app.group("xml", "XML files, as the library reads and writes them");

    Command get = xml.command("get", "print one text");
    XmlOptions &reading = on_run(get, run_get);
    get.option("FILE", reading.file, "the document").required();
    get.option("PATH", reading.path,
               "names from the root on, such as config.lan.port, user[id=3].name, user[id]")
        .required();

    Command set = xml.command("set", "change one text, in place");
    XmlOptions &writing = on_run(set, run_set);
    set.option("FILE", writing.file, "the document").required();
    set.option("PATH", writing.path, "names from the root on, such as config.lan.port").required();
    set.option("VALUE", writing.value, "the text").required();
    set.option("--attribute", writing.attribute, "change this attribute of the element");
    set.flag("--create", writing.create, "make what is missing");

    Command check = xml.command("check", "tell whether the parser takes a document");
    XmlOptions &checking = on_run(check, run_check);
    check.option("FILE", checking.file, "the document").required();
}

}  // namespace hearth::tool
