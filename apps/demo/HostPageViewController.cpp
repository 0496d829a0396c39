#include "HostPageViewController.h"

#include "quorvel/QuorvelSDK.h"

namespace quorvel::demo {

namespace {

std::string joined(const std::vector<std::string>& items) {
  std::string text;
  for (const auto& item : items) text += (text.empty() ? "" : ",") + item;
  return text;
}

std::optional<std::string> nonEmpty(const std::string& text) {
  if (text.empty()) return std::nullopt;
  return text;
}

constexpr const char* kEnvironmentButtons[] = {"uiRBProduction", "uiRBQA", "uiRBIntegrations"};
constexpr const char* kLanguageButtons[] = {"uiRBEnglish", "uiRBPortuguese"};

}  // namespace

HostPageViewController::HostPageViewController(const DemoOptions& options, Completion completion)
    : ViewController("HostPageViewController"),
      options_(options),
      completion_(std::move(completion)),
      language_(options.language),
      hideStartScreen_(options.hideStartScreen) {
  for (const char* name :
       {"uiLbTitle", "uiLbSubtitle", "uiLbEnvironment", "uiLbLanguage", "uiLbError"}) {
    registerOutlet<Label>(name);
  }
  for (const char* name :
       {"uiTfAppID", "uiTfApiKey", "uiTfTests", "uiTfIMEI", "uiTfSerial", "uiTfThemeColor"}) {
    registerOutlet<TextField>(name);
  }
  for (int i = 0; i < 3; ++i) {
    registerOutlet<RadioButton>(kEnvironmentButtons[i]);
    registerAction(std::string(kEnvironmentButtons[i]) + "_TouchUpInside",
                   [this, i] { selectEnvironment(i); });
  }
  for (int i = 0; i < 2; ++i) {
    registerOutlet<RadioButton>(kLanguageButtons[i]);
    registerAction(std::string(kLanguageButtons[i]) + "_TouchUpInside",
                   [this, i] { selectLanguage(i); });
  }
  registerOutlet<CheckBox>("uiCBHideStartScreen");
  registerAction("uiCBHideStartScreen_TouchUpInside", [this] {
    hideStartScreen_ = !hideStartScreen_;
    outlet<CheckBox>("uiCBHideStartScreen").isChecked = hideStartScreen_;
  });
  registerOutlet<Button>("uiBtStart");
  registerAction("uiBtStart_TouchUpInside", [this] { start(); });
}

void HostPageViewController::viewDidLoad() {
  // The page's own look: the SDK's outlet items draw exactly the colours a page sets.
  const Color ink = Color::rgb(28, 28, 30);
  const Color accent = Color::rgb(11, 123, 251);
  outlet<View>("view").backgroundColor = Color::rgb(242, 242, 247);
  for (const char* name : {"uiLbTitle", "uiLbSubtitle", "uiLbEnvironment", "uiLbLanguage"}) {
    outlet<Label>(name).textColor = ink;
  }
  outlet<Label>("uiLbError").textColor = Color::rgb(255, 59, 48);
  for (const char* name : kEnvironmentButtons) {
    outlet<RadioButton>(name).textColor = ink;
    outlet<RadioButton>(name).tintColor = accent;
  }
  for (const char* name : kLanguageButtons) {
    outlet<RadioButton>(name).textColor = ink;
    outlet<RadioButton>(name).tintColor = accent;
  }
  outlet<Label>("uiLbTitle").text = "Quorvel demo host";
  outlet<Label>("uiLbSubtitle").text =
      "A host application: these are the settings it hands the SDK before a run.";
  outlet<Label>("uiLbEnvironment").text = "Environment";
  outlet<Label>("uiLbLanguage").text = "Language";
  outlet<Label>("uiLbError").hidden = true;

  auto field = [this](const char* name, const std::string& placeholder, std::string text) {
    auto& element = outlet<TextField>(name);
    element.placeholder = placeholder;
    element.text = std::move(text);
  };
  field("uiTfAppID", "App ID", options_.appID);
  field("uiTfApiKey", "API key", options_.apiKey);
  field("uiTfTests", "Tests (empty: the default tests)",
        options_.tests ? joined(*options_.tests) : "");
  field("uiTfIMEI", "IMEI (optional)", options_.imei);
  field("uiTfSerial", "Serial number (optional)", options_.serial);
  field("uiTfThemeColor", "Theme colour, #RRGGBB (optional)", "");

  const char* environmentTitles[] = {"Production", "QA", "Integrations"};
  for (int i = 0; i < 3; ++i)
    outlet<RadioButton>(kEnvironmentButtons[i]).title = environmentTitles[i];
  const char* languageTitles[] = {"English", "Português"};
  for (int i = 0; i < 2; ++i) outlet<RadioButton>(kLanguageButtons[i]).title = languageTitles[i];
  selectEnvironment(environment_);
  selectLanguage(language_);

  auto& hide = outlet<CheckBox>("uiCBHideStartScreen");
  hide.title = "Hide the start screen";
  hide.isChecked = hideStartScreen_;
  hide.textColor = ink;
  hide.tintColor = accent;

  auto& startButton = outlet<Button>("uiBtStart");
  startButton.title = "Run the tests";
  startButton.backgroundColor = accent;
  startButton.titleColor = Color::white();
  startButton.borderType = BorderType::rounded;
}

void HostPageViewController::selectEnvironment(int environment) {
  environment_ = environment;
  for (int i = 0; i < 3; ++i)
    outlet<RadioButton>(kEnvironmentButtons[i]).isChecked = i == environment;
}

void HostPageViewController::selectLanguage(int language) {
  language_ = language;
  for (int i = 0; i < 2; ++i) outlet<RadioButton>(kLanguageButtons[i]).isChecked = i == language;
}

void HostPageViewController::start() {
  auto& error = outlet<Label>("uiLbError");
  const std::string colorText = outlet<TextField>("uiTfThemeColor").text;
  std::optional<Color> theme;
  if (!colorText.empty()) {
    // Only "#RRGGBB": the page asks for an opaque colour.
    if (colorText.size() == 7) theme = Color::fromHex(colorText);
    if (!theme) {
      error.text = "The theme colour must look like #0B7BFB.";
      error.hidden = false;
      return;
    }
  }
  error.hidden = true;

  auto& sdk = QuorvelSDK::shared();
  sdk.environment = static_cast<Environment>(environment_);
  sdk.language = static_cast<SupportedLanguage>(language_);
  sdk.hideStartScreen = hideStartScreen_;
  sdk.strictUploads = options_.strictUploads;
  sdk.themeColor = theme;

  std::optional<std::vector<std::string>> tests;
  const std::string testsText = outlet<TextField>("uiTfTests").text;
  if (!testsText.empty()) tests = DemoOptions::splitList(testsText);
  sdk.performTests(outlet<TextField>("uiTfAppID").text, outlet<TextField>("uiTfApiKey").text, tests,
                   nonEmpty(outlet<TextField>("uiTfIMEI").text),
                   nonEmpty(outlet<TextField>("uiTfSerial").text), nullptr, completion_);
}

}  // namespace quorvel::demo
