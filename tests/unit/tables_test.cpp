// What the parsers of mail make of each input of tests/tables: headers, parts, recipients, pages, replies, names.

#include "base/account.h"
#include "base/file_name.h"
#include "base/text.h"
#include "compose/quote.h"
#include "compose/references.h"
#include "fixtures/dialogue.h"
#include "mime/content_types.h"
#include "mime/headers.h"
#include "mime/interface_only.h"
#include "mime/recipients.h"
#include "profiles/address_book_file.h"
#include "profiles/mail_profile_file.h"
#include "unit/rendered.h"

#include <gtest/gtest.h>
#include <memory>
#include <set>

namespace {

using Facts = std::map<std::string, std::string>;

Facts Headers(Dialogue const &one) {
    auto const h = std::make_unique<ParsedHeaders>();
    memset(h.get(), '#', sizeof *h); // what is not cleared shows
    EXPECT_EQ(ParseHeaders(one["text"].c_str(), *h), 1);
    EXPECT_LE(h->headerLength, one["text"].size());
    return {{"from", h->from},
            {"to", h->to},
            {"cc", h->cc},
            {"date", h->date},
            {"subject", h->subject},
            {"type", h->contentType},
            {"boundary", h->boundary},
            {"newsgroups", h->newsgroups},
            {"length", std::to_string(h->headerLength)}};
}

Facts Part(Dialogue const &one) {
    std::string const text = one["text"];
    PartHeaders part;
    memset(&part, '#', sizeof part);
    char const *const rest = ParsePartHeaders(text.c_str(), nullptr, part, "--b");
    EXPECT_LE(rest, text.c_str() + text.size());
    EXPECT_LE(part.body + part.bodyLength, text.c_str() + text.size());
    return {{"type", part.contentType},
            {"name", part.name},
            {"encoding", part.encoding},
            {"file", part.fileName},
            {"reserved", part.reserved},
            {"rest", rest},
            {"body", std::string(part.body, static_cast<size_t>(part.bodyLength))}};
}

Facts Recipient(Dialogue const &one) {
    std::string const list = one["list"];
    char out[100], narrow[] = "##########";
    char const *const rest = ExtractRecipient(list.c_str(), out, sizeof out, !one["address-only"].empty());
    ExtractRecipient(list.c_str(), narrow, 5, false);
    EXPECT_EQ(narrow[5], '#');
    return {{"taken", out}, {"rest", rest ? rest : "nothing taken"}};
}

Facts Reply(Dialogue const &one) {
    return {
        {"quote", QuotePage(one["page"])},
        {"reply", ReplySubject(one["subject"])},
        {"forward", ForwardSubject(one["subject"])},
        {"to", AddRecipients(one["field"], one["list"].c_str(), one["own"].c_str(), !one["leading-comma"].empty())}};
}

Facts Page(Dialogue const &one) {
    std::unique_ptr<MailPage> const mail = RenderMail(one["mail"], one.Has("page") ? kWhole : kBody);
    auto const named = [&](std::string text) {
        for (unsigned n : {0, 1})
            for (size_t at; (at = text.find(mail->Image(n))) != text.npos;)
                text.replace(at, mail->Image(n).size(), "IMAGE" + std::to_string(n));
        return text;
    };
    std::string files, labels, names;
    for (std::string const &name : mail->directory.Names())
        files += (files.empty() ? "" : "|") + named(name);
    for (Attachment const &item : mail->sink.items) {
        labels += item.label + "|";
        names += item.name + "|";
    }
    std::string const image = files.empty() ? "" : ReadFile(mail->directory / mail->directory.Names()[0]);
    return {{"page", named(mail->page)},
            {"body", named(mail->page)},
            {"files", files},
            {"image", image},
            {"labels", labels},
            {"names", names},
            {"last", mail->sink.items.empty() ? "" : mail->sink.items.back().body}};
}

std::string Edited(std::string text, void (*edit)(char *)) {
    edit(text.data());
    return text.c_str();
}

Facts Text(Dialogue const &one) {
    std::string const text = one["text"];
    char type[64], image[32] = "1_0", narrow[6];
    int const known = ContentTypeForFileName(type, sizeof type, text.c_str());
    EXPECT_EQ(AppendImageExtension(text.c_str(), image, sizeof image), known);
    EXPECT_EQ(ContentTypeForFileName(narrow, sizeof narrow, text.c_str()), known);
    EXPECT_EQ(narrow, std::string(type).substr(0, 5));
    Contact const contact = SplitContact(text);
    std::string rows;
    for (std::string_view const row : BookRows(text))
        rows += std::string(row) + "|";
    auto const said = [](bool yes) { return yes ? "yes" : "no"; };
    return {{"file", SafeFileName(text)},
            {"number", std::to_string(DecimalPrefix(text))},
            {"line", std::string(FirstLine(text))},
            {"plain", said(IsPlainName(text))},
            {"group", said(IsGroupName(text))},
            {"profile", said(IsMailProfileName(text))},
            {"type", type},
            {"image", image},
            {"contact", contact.name + "|" + contact.address + "|" + contact.note},
            {"address", std::string(ContactAddress(text))},
            {"references", ReplyReferences(text)},
            {"groups", ReplyGroups(text)},
            {"rows", rows},
            {"unquoted", Edited(text, StripQuotes)},
            {"unspaced", Edited(text, RemoveSpaces)},
            {"trimmed", Edited(text, TrimLeadingSpaces)},
            {"joined", Edited(text, RemoveLineBreaks)}};
}

struct Table {
    char const *file;
    Facts (*make)(Dialogue const &);
    std::set<std::string> inputs;
};

class Tables : public testing::TestWithParam<Table> {};

TEST_P(Tables, EachInputBecomesWhatIsStated) {
    Table const &table = GetParam();
    std::vector<Dialogue> const cases = ReadTable(table.file);
    EXPECT_GT(cases.size(), 10u);
    for (Dialogue const &one : cases) {
        SCOPED_TRACE(one.name);
        Facts const made = table.make(one);
        int stated = 0;
        for (auto const &[fact, text] : one.facts) {
            if (table.inputs.contains(fact))
                continue;
            stated++;
            EXPECT_TRUE(made.contains(fact)) << "an unknown fact: " << fact;
            EXPECT_EQ(made.contains(fact) ? made.at(fact) : "", text) << fact;
        }
        EXPECT_GT(stated, 0);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Mail, Tables,
    testing::Values(Table{"headers", Headers, {"text"}}, Table{"parts", Part, {"text"}},
                    Table{"recipient", Recipient, {"list", "address-only"}}, Table{"texts", Text, {"text"}},
                    Table{"pages", Page, {"mail"}},
                    Table{"reply", Reply, {"page", "subject", "field", "list", "own", "leading-comma"}}),
    [](auto const &info) { return std::string(info.param.file); });

} // namespace
