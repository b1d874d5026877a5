#include <kwxml/traverse/MessagePage.h>

#include <kwxml/traverse/FirstTexts.h>
#include <kwxml/traverse/PageClasses.h>
#include <kwxml/traverse/PageShell.h>
#include <kwxml/traverse/PageText.h>
#include <kwxml/traverse/PageWalk.h>

namespace kwxml {

struct MessagePage::Parts
{
  PageShell shell;
  PageClasses classes;
};

MessagePage::MessagePage(TakeText take, std::string_view made)
    : parts_(new Parts{PageShell(std::move(take), {.title = "Messages",
                                                   .textsName = "Texts",
                                                   .facts = {{"Made", lineOf(made)}},
                                                   .hasUnset = true}),
                       {}})
{
}

MessagePage::~MessagePage() = default;

bool MessagePage::add(const YMMessageBase& message, std::string_view source)
{
  PageShell::Section section;
  section.name = lineOf(message.getClass() != nullptr ? message.getTagName() : "(no class)");
  section.texts = firstTexts(message);
  PageWalk walk(section.body, parts_->classes);
  walk.message(message, 0);
  if (message.getClass() != nullptr) {
    parts_->classes.appendLink(section.link, {message.getSubsysID(), message.getClassIndex()});
    section.facts.emplace_back("Class", section.link);
  }
  section.facts.emplace_back("Source", lineOf(source));
  section.facts.emplace_back("Content", countText(walk.count(), "value"));
  section.note = countText(walk.count(), "value") + ", " + lineOf(source);
  return parts_->shell.add(std::move(section));
}

bool MessagePage::finish()
{
  return parts_->shell.finish(parts_->classes.text());
}

}  // namespace kwxml
