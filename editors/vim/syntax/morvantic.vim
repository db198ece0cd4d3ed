" Words and forms of Morvantic scripts. Generated: change editors/generate.cpp.
if exists("b:current_syntax")
  finish
endif
syntax case match

syntax keyword morvanticKeyword const dependencies engineVersion func hasExtraFS
syntax keyword morvanticKeyword index names namespaces Package path versionMax
syntax keyword morvanticKeyword versionMin platforms Python XQuery
syntax keyword morvanticObject DefaultAnalyzer XmlAnalyzer SqliteAnalyzer
syntax keyword morvanticObject JsonAnalyzer TextAnalyzer ProtobufAnalyzer
syntax keyword morvanticObject IniAnalyzer VCardAnalyzer JavaObjectAnalyzer
syntax keyword morvanticObject PlistAnalyzer CookiesAnalyzer CacheAnalyzer
syntax keyword morvanticObject ObfuscatedAnalyzer SmartAnalyzer ZipAnalyzer
syntax keyword morvanticObject MediaAnalyzer DynDictAnalyzer
syntax keyword morvanticObject FlattenedDataAnalyzer ContentProviderAnalyzer
syntax keyword morvanticObject ContentProviderContactsAnalyzer SnssAnalyzer
syntax keyword morvanticObject LocationLogAnalyzer UserLogFileAnalyzer
syntax keyword morvanticObject DeviceIdleLogAnalyzer NetstatLogAnalyzer
syntax keyword morvanticObject NotificationLogAnalyzer WifiLogAnalyzer
syntax keyword morvanticObject BadooCacheAnalyzer EvernoteThumbsAnalyzer
syntax keyword morvanticObject FbMessangerActAnalyzer OperaHistoryAnalyzer
syntax keyword morvanticObject PuffinHistoryLogAnalyzer SilkBrowserTabsAnalyzer
syntax keyword morvanticObject StravaActivityAnalyzer UberCacheAnalyzer
syntax keyword morvanticObject UberLdbAnalyzer VaultyAnalyzer
syntax keyword morvanticObject WhatsAppBackupAnalyzer XiaomiNotepadsAnalyzer
syntax keyword morvanticObject GoogleFitCacheAnalyzer GenericAnalyzer
syntax keyword morvanticFunction addConstantToXQuery addDomainGroupFolder
syntax keyword morvanticFunction addAdditionalFolder addKeychainXml
syntax keyword morvanticFunction setRecreateFilesystemFolders
syntax keyword morvanticFunction setPathToIdModifier idOnText
syntax keyword morvanticFunction customizableIdRefOnText idRefOnText
syntax keyword morvanticFunction functionOnText extractToNewAttribute
syntax keyword morvanticFunction analyzeConstText analyzeText analyzeAttribute
syntax keyword morvanticFunction idOnAttribute idRefOnAttribute
syntax keyword morvanticFunction functionOnAttribute analyzeConstThumbnail
syntax keyword morvanticFunction analyzeObject analyzeValue functionOnValue
syntax keyword morvanticFunction analyzeConstValue setSpecific setFileFunction
syntax keyword morvanticFunction setAnalyzer analyzeColumn analyzeConstColumn
syntax keyword morvanticFunction analyzeConstColumns functionOnColumn
syntax keyword morvanticFunction functionOnColumns customizableIdOnColumn
syntax keyword morvanticFunction idOnColumn customizableIdOnColumns idOnColumns
syntax keyword morvanticFunction customizableIdRefOnColumn idRefOnColumn
syntax keyword morvanticFunction customizableIdRefOnColumns idRefOnColumns
syntax keyword morvanticFunction extractToNewColumn addSelectedTables
syntax keyword morvanticFunction setRecoveryFilteringOnColumns
syntax keyword morvanticFunction discardAllNonValidRecoveryLines
syntax keyword morvanticFunction forceFunctionsOnNullValue setInstantInitialize
syntax keyword morvanticFunction mergeDatabaseRecords
syntax keyword morvanticBoolean true false
syntax match morvanticEnum "\<fs\s*\.\s*\%(Raw\|App\|Extra\)\>"
syntax match morvanticEnum "\<javaobj\s*\.\s*\%(Default\|GoogleQuickOffice\|GoogleMaps\)\>"
syntax match morvanticEnum "\<json\s*\.\s*\%(Null\|Bool\|Double\|String\|Array\|Object\|Undefined\)\>"
syntax match morvanticEnum "\<obfs\s*\.\s*\%(Mem\|File\)\>"
syntax match morvanticEnum "\<platform\s*\.\s*\%(Android\|iOS\|WindowsPhone\|Blackberry\)\>"
syntax match morvanticEnum "\<plist\s*\.\s*\%(Array\|Bool\|Data\|Date\|Dict\|Int\|Int128\|Key\|Real\|String\|Uid\|Undefined\)\>"
syntax match morvanticEnum "\<proto\s*\.\s*\%(Varint\|Num32\|Num64\|String\)\>"
syntax match morvanticEnum "\<sqlite\s*\.\s*\%(None\|WeChat\|Threema\|SilentPhone\|BBM\|SHealth\)\>"
syntax match morvanticNumber "\<[0-9]\+\>"
syntax match morvanticSection "::\s*\w\+\s*::\s*\w\+\s*::\ze\s*{"
syntax match morvanticCall "\<\h\w*\s*::\s*\h\w*\ze\s*("
syntax match morvanticError "/"
syntax region morvanticString start=+"+ end=+"+
syntax region morvanticComment start="//" end="$" contains=@Spell
syntax region morvanticComment start="/\*" end="\*/" contains=@Spell

highlight default link morvanticKeyword Keyword
highlight default link morvanticObject Type
highlight default link morvanticFunction Function
highlight default link morvanticBoolean Boolean
highlight default link morvanticEnum Constant
highlight default link morvanticNumber Number
highlight default link morvanticSection Structure
highlight default link morvanticCall Identifier
highlight default link morvanticError Error
highlight default link morvanticString String
highlight default link morvanticComment Comment

let b:current_syntax = "morvantic"
