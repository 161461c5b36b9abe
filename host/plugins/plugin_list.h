// The reference plug-ins kelhost offers, one line each: KELHOST_PLUGIN(factory),
// where `factory` is defined in the plug-in's own file under host/plugins/ and
// returns std::unique_ptr<kelhost::ReferencePlugin>. Included twice by
// plugins.cpp, so deliberately without an include guard.
KELHOST_PLUGIN(MakeSamplePlugin)
KELHOST_PLUGIN(MakeConnectionPlugin)
KELHOST_PLUGIN(MakeContentPlugin)
KELHOST_PLUGIN(MakeGroupsPlugin)
KELHOST_PLUGIN(MakeTransportPlugin)
KELHOST_PLUGIN(MakeAntispamPlugin)
KELHOST_PLUGIN(MakeDomainCheckPlugin)
KELHOST_PLUGIN(MakeAntivirusPlugin)
KELHOST_PLUGIN(MakeAttachmentPlugin)
KELHOST_PLUGIN(MakeQuarantinePlugin)
KELHOST_PLUGIN(MakeReleaseEmailPlugin)  // shares the store made just before it
KELHOST_PLUGIN(MakeOnDemandPlugin)
KELHOST_PLUGIN(MakeOnAccessPlugin)
