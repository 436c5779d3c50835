// The configuration files the setup commands give the desktop-search hosts,
// built into the command from hosts/recoll and hosts/kde.
#pragma once

#include <string_view>

namespace tessivo::cli::hostfiles {

// Recoll configuration fragments, merged into the user's files of the same
// names; in kRecollMimeconf, "{tessivo}" stands for the tessivo command.
extern const std::string_view kRecollMimemap;
extern const std::string_view kRecollMimeconf;
extern const std::string_view kRecollMimeview;
extern const std::string_view kRecollFields;

// The shared-mime-info package that names *.msg files application/vnd.ms-outlook.
extern const std::string_view kKdeMimePackage;

}  // namespace tessivo::cli::hostfiles
